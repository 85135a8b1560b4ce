#include "src/ebml/void_element.h"

#include <algorithm>
#include <array>

#include "src/ebml/element_ids.h"
#include "src/ebml/length.h"

namespace MatroskaWriter {
namespace {

constexpr uint64_t kZeroPiece = 64;

}  // namespace

Void::Void(uint64_t length, int size_width)
    : CID(ids::kVoid), length_(length), size_width_(size_width) {}

int Void::FieldWidth() const {
  if (length_ > kMaxKnownSize) {
    return 8;
  }
  return std::clamp(size_width_, CLength::Width(length_), 8);
}

Extent Void::Measure() const {
  Extent extent;
  extent.header = static_cast<uint64_t>(IdWidth(id())) + static_cast<uint64_t>(FieldWidth());
  extent.payload = length_;
  extent.codable = length_ <= kMaxKnownSize;
  return extent;
}

int32_t Void::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, kMaxHeaderBytes> header{};
  const size_t id_bytes = EncodeId(id(), header.data());
  const size_t n = id_bytes + CLength::Encode(length_, FieldWidth(), header.data() + id_bytes);
  stream.Write(header.data(), static_cast<uint32_t>(n));

  static constexpr std::array<uint8_t, kZeroPiece> kZeros{};
  for (uint64_t left = extent.payload; left != 0;) {
    const uint64_t piece = std::min(left, kZeroPiece);
    stream.Write(kZeros.data(), static_cast<uint32_t>(piece));
    left -= piece;
  }
  return kx::kOk;
}

}  // namespace MatroskaWriter
