// A byte-array element (CodecID, CodecPrivate, SegmentUID, BlockAdditional).
// An empty array leaves the element out of the file.
#ifndef KX_EBML_BINARY_H_
#define KX_EBML_BINARY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class CBinary : public CID {
 public:
  explicit CBinary(uint32_t id);

  // The text's bytes followed by one zero byte, which is part of the payload:
  // CodecID values are stored this way and so carry a trailing zero.
  void SetText(std::string_view text);
  // The bytes up to the first zero byte (all of them when there is none).
  [[nodiscard]] std::string Text() const;
  // Replaces the bytes with a copy of `size` bytes at `data`. A null `data`
  // with a non-zero size has nothing to copy and empties the array instead of
  // reading through the null pointer.
  void Assign(const uint8_t* data, size_t size);
  // Grows or shrinks the array; new bytes are zero (used for the zero-filled
  // reservations that are patched in place later).
  void Resize(size_t size);
  // Empties the array and releases its storage.
  void Clear();

  std::vector<uint8_t>& bytes() { return bytes_; }
  [[nodiscard]] const std::vector<uint8_t>& bytes() const { return bytes_; }
  [[nodiscard]] size_t length() const { return bytes_.size(); }
  [[nodiscard]] bool empty() const { return bytes_.empty(); }

  [[nodiscard]] Extent Measure() const override;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  std::vector<uint8_t> bytes_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_BINARY_H_
