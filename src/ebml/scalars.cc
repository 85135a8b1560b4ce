#include "src/ebml/scalars.h"

#include <cstring>

namespace MatroskaWriter {
namespace {

void EncodeBigEndian(uint64_t bits, size_t width, uint8_t* out) {
  for (size_t i = width; i-- > 0;) {
    out[i] = static_cast<uint8_t>(bits);
    bits >>= 8;
  }
}

}  // namespace

size_t CUInt::ValueWidth() const {
  size_t width = 1;
  for (uint64_t rest = Value() >> 8; rest != 0; rest >>= 8) {
    ++width;
  }
  return width;
}

void CUInt::EncodeValue(size_t width, uint8_t* out) const { EncodeBigEndian(Value(), width, out); }

size_t CInt::ValueWidth() const {
  const int64_t v = Value();
  size_t width = 1;
  // Widen until the value survives sign extension from `width` bytes.
  while (width < 8) {
    const int64_t limit = int64_t{1} << (8 * width - 1);
    if (v >= -limit && v < limit) {
      break;
    }
    ++width;
  }
  return width;
}

void CInt::EncodeValue(size_t width, uint8_t* out) const {
  EncodeBigEndian(static_cast<uint64_t>(Value()), width, out);
}

size_t CFloat::ValueWidth() const { return sizeof(float); }

void CFloat::EncodeValue(size_t width, uint8_t* out) const {
  static_assert(sizeof(float) == sizeof(uint32_t), "float must be IEEE-754 single precision");
  uint32_t bits = 0;
  const float v = Value();
  std::memcpy(&bits, &v, sizeof(bits));
  EncodeBigEndian(bits, width, out);
}

}  // namespace MatroskaWriter
