// The Segment header alone: ID and an 8-byte size field. The segment's
// content is written after it as separate elements, and the header is
// rewritten in place at the end with the real size, which is why the field
// never changes width.
#ifndef KX_EBML_SEGMENT_H_
#define KX_EBML_SEGMENT_H_

#include <cstdint>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class Segment : public CID {
 public:
  Segment();

  // Size reports this payload size (the unknown-size value while it is 0)
  // plus the 12 header bytes with the header; Write emits only the header.
  [[nodiscard]] Extent Measure() const override;

  // Payload length of the segment; 0 means not yet known and is written as
  // the unknown size. A size of 2^56 - 1 or more cannot be coded as a known
  // size and is written as unknown too, which readers handle by reading to
  // the end of the file, rather than cutting the value to 7 bytes.
  uint64_t size = 0;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  [[nodiscard]] uint64_t CodedSize() const;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SEGMENT_H_
