#include "src/codec/start_code.h"

#include <cstring>

namespace kx::codec {
namespace {

bool IsStartCodeAt(const uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 1; }

// Non-zero exactly when one of the four bytes of x is zero.
constexpr uint32_t HasZeroByte(uint32_t x) { return (x - 0x01010101U) & ~x & 0x80808080U; }

}  // namespace

const uint8_t* find_start_code(const uint8_t* begin, const uint8_t* end) {
  if (begin == nullptr || end - begin < 4) {
    return end;
  }
  // Candidates p must satisfy p < limit so that p[2] and one more byte exist.
  const uint8_t* const limit = end - 3;
  const uint8_t* p = begin;

  while (p < limit && (reinterpret_cast<uintptr_t>(p) & 3U) != 0) {
    if (IsStartCodeAt(p)) {
      return p;
    }
    ++p;
  }
  // Every start code begins with a zero byte, so whole words without one are
  // passed over; a word with one is examined byte by byte. Loading p..p+3 is
  // in bounds because p < limit means p + 3 < end.
  while (p < limit) {
    uint32_t word = 0;
    std::memcpy(&word, p, sizeof word);
    if (HasZeroByte(word) != 0) {
      for (const uint8_t* q = p; q < p + 4 && q < limit; ++q) {
        if (IsStartCodeAt(q)) {
          return q;
        }
      }
    }
    p += 4;
  }
  return end;
}

const uint8_t* FindStartCodeSteppedBack(const uint8_t* begin, const uint8_t* end) {
  const uint8_t* found = find_start_code(begin, end);
  if (found > begin && found < end && found[-1] == 0) {
    --found;
  }
  return found;
}

}  // namespace kx::codec
