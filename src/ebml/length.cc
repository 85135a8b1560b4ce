#include "src/ebml/length.h"

#include <array>

namespace MatroskaWriter {

CLength::CLength(uint64_t value) : CID(0), value(value) {}

Extent CLength::Measure() const {
  Extent extent;
  extent.payload = static_cast<uint64_t>(Width(value));
  extent.codable = extent.payload != 0;
  return extent;
}

int CLength::Width(uint64_t v) {
  if (v == kUnknown) {
    return 8;
  }
  for (int n = 1; n <= 8; ++n) {
    const uint64_t all_ones = (uint64_t{1} << (7 * n)) - 1;
    if (v < all_ones) {
      return n;
    }
  }
  return 0;
}

size_t CLength::Encode(uint64_t v, int width, uint8_t* out) {
  const int needed = Width(v);
  if (needed == 0 || width < needed || width > 8) {
    return 0;
  }
  for (int i = width - 1; i >= 0; --i) {
    out[i] = static_cast<uint8_t>(v);
    v >>= 8;
  }
  // The value fits below the marker bit, so only the marker has to be added.
  out[0] |= static_cast<uint8_t>(0x80U >> (width - 1));
  return static_cast<size_t>(width);
}

int32_t CLength::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, 8> buffer{};
  const size_t n = Encode(value, static_cast<int>(extent.payload), buffer.data());
  return stream.Write(buffer.data(), static_cast<uint32_t>(n));
}

}  // namespace MatroskaWriter
