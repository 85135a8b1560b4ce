// The EBML variable-length integer: the size field of every element and the
// track number inside blocks.
#ifndef KX_EBML_LENGTH_H_
#define KX_EBML_LENGTH_H_

#include <cstddef>
#include <cstdint>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class CLength : public CID {
 public:
  // The EBML value for "unknown size": all value bits of an 8-byte field set.
  static constexpr uint64_t kUnknown = (uint64_t{1} << 56) - 1;

  explicit CLength(uint64_t value = 0);

  // Size is the coded width whatever the argument; Write writes the coded
  // value only (no ID). A value of 2^56 or more has no coding: Size is 0 and
  // Write refuses it with kNotCodable.
  [[nodiscard]] Extent Measure() const override;

  // Smallest width from 1 to 8 whose all-ones pattern is not needed: known
  // sizes never use the all-ones value, which means "unknown". kUnknown itself
  // takes 8 bytes. 0 when v >= 2^56.
  static int Width(uint64_t v);

  // Codes `v` in exactly `width` bytes into `out` (at least 8 bytes) and
  // returns `width`. Returns 0 and writes nothing when `width` is outside 1..8
  // or smaller than Width(v), since the value would then be cut or collide
  // with the unknown-size pattern.
  static size_t Encode(uint64_t v, int width, uint8_t* out);

  uint64_t value;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_LENGTH_H_
