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

int32_t CLength::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, 8> buffer{};
  const size_t n = Encode(value, static_cast<int>(extent.payload), buffer.data());
  return stream.Write(buffer.data(), static_cast<uint32_t>(n));
}

}  // namespace MatroskaWriter
