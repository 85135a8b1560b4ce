// The EBML variable-length integer: the size field of every element and the
// track number inside blocks.
#ifndef KX_EBML_LENGTH_H_
#define KX_EBML_LENGTH_H_

#include <cstddef>
#include <cstdint>

#include "src/ebml/cid.h"
#include "src/ebml/vint.h"

namespace MatroskaWriter {

class CLength : public CID {
 public:
  // The EBML value for "unknown size": all value bits of an 8-byte field set.
  static constexpr uint64_t kUnknown = vint::kUnknown;

  explicit CLength(uint64_t value = 0);

  // Size is the coded width whatever the argument; Write writes the coded
  // value only (no ID). A value of 2^56 or more has no coding: Size is 0 and
  // Write refuses it with kNotCodable.
  [[nodiscard]] Extent Measure() const override;

  // The coding of src/ebml/vint.h.
  static int Width(uint64_t v) { return vint::Width(v); }
  static size_t Encode(uint64_t v, int width, uint8_t* out) { return vint::Encode(v, width, out); }

  uint64_t value;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_LENGTH_H_
