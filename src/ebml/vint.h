// The EBML variable-length integer: the coding of every size field and of
// the track number inside blocks. Inline, since every element header passes
// through it.
#ifndef KX_EBML_VINT_H_
#define KX_EBML_VINT_H_

#include <cstddef>
#include <cstdint>

namespace MatroskaWriter::vint {

// The value of "unknown size": all value bits of an 8-byte field set.
inline constexpr uint64_t kUnknown = (uint64_t{1} << 56) - 1;

// Smallest width from 1 to 8 whose all-ones pattern is not needed: known
// sizes never use the all-ones value, which means "unknown". kUnknown itself
// takes 8 bytes. 0 when v >= 2^56.
inline int Width(uint64_t v) {
  if (v < 0x7F) {  // the usual sizes first
    return 1;
  }
  if (v < 0x3FFF) {
    return 2;
  }
  if (v == kUnknown) {
    return 8;
  }
  for (int n = 3; n <= 8; ++n) {
    if (v < (uint64_t{1} << (7 * n)) - 1) {
      return n;
    }
  }
  return 0;
}

// Codes `v` in exactly `width` bytes into `out` (at least 8 bytes) and
// returns `width`. Returns 0 and writes nothing when `width` is outside 1..8
// or smaller than Width(v), since the value would then be cut or collide
// with the unknown-size pattern.
inline size_t Encode(uint64_t v, int width, uint8_t* out) {
  const int needed = Width(v);
  if (needed == 0 || width < needed || width > 8) {
    return 0;
  }
  if (width == 1) {  // the usual size field, without the loop
    out[0] = static_cast<uint8_t>(v);
  } else {
    for (int i = width - 1; i >= 0; --i) {
      out[i] = static_cast<uint8_t>(v);
      v >>= 8;
    }
  }
  // The value fits below the marker bit, so only the marker has to be added.
  out[0] |= static_cast<uint8_t>(0x80U >> (width - 1));
  return static_cast<size_t>(width);
}

}  // namespace MatroskaWriter::vint

#endif  // KX_EBML_VINT_H_
