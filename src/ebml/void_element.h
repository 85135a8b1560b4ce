// The Void filler: `length` zero bytes under ID 0xEC, used to reserve space
// that is filled in later and to pad what is left of it.
#ifndef KX_EBML_VOID_ELEMENT_H_
#define KX_EBML_VOID_ELEMENT_H_

#include <cstdint>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class Void : public CID {
 public:
  // `size_width` is the width of the size field; 0 means the minimal width.
  // A wider field than needed lets a Void cover gaps that the minimal width
  // cannot (129 bytes: 126 bytes of content are one short, 127 need a 2-byte
  // field). A requested width below the minimum is raised to it and one above
  // 8 is lowered to 8, since the value could not be coded otherwise; Size
  // always reports the width actually written, so callers that fill a gap can
  // check it. A length of 2^56 - 1 or more has no coding and Write refuses it.
  explicit Void(uint64_t length = 0, int size_width = 0);

  [[nodiscard]] uint64_t length() const { return length_; }
  void set_length(uint64_t length) { length_ = length; }
  [[nodiscard]] int size_width() const { return size_width_; }
  void set_size_width(int size_width) { size_width_ = size_width; }

  [[nodiscard]] Extent Measure() const override;

 protected:
  // Zeros go out in pieces of at most 64 bytes.
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  [[nodiscard]] int FieldWidth() const;

  uint64_t length_;
  int size_width_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_VOID_ELEMENT_H_
