// The scalar value elements: unsigned and signed integers of minimal width
// and 32-bit floats.
#ifndef KX_EBML_SCALARS_H_
#define KX_EBML_SCALARS_H_

#include <cstddef>
#include <cstdint>

#include "src/ebml/simple_var.h"

namespace MatroskaWriter {

// Payload: the value's bytes from its highest non-zero byte down; 0 is one
// byte 00.
class CUInt final : public CSimpleVar<uint64_t> {
 public:
  explicit CUInt(uint32_t id) : CSimpleVar(id) {}

 protected:
  [[nodiscard]] size_t ValueWidth() const override;
  void EncodeValue(size_t width, uint8_t* out) const override;
};

// Payload: the shortest two's complement form that keeps the sign.
class CInt final : public CSimpleVar<int64_t> {
 public:
  explicit CInt(uint32_t id) : CSimpleVar(id) {}

 protected:
  [[nodiscard]] size_t ValueWidth() const override;
  void EncodeValue(size_t width, uint8_t* out) const override;
};

// Payload: always the 4-byte IEEE-754 single-precision pattern, so that a
// float written early (Duration) can be rewritten in place.
class CFloat final : public CSimpleVar<float> {
 public:
  explicit CFloat(uint32_t id) : CSimpleVar(id) {}

 protected:
  [[nodiscard]] size_t ValueWidth() const override;
  void EncodeValue(size_t width, uint8_t* out) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SCALARS_H_
