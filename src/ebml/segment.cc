#include "src/ebml/segment.h"

#include <array>

#include "src/ebml/element_ids.h"
#include "src/ebml/length.h"

namespace MatroskaWriter {
namespace {

constexpr int kSizeFieldWidth = 8;

}  // namespace

Segment::Segment() : CID(ids::kSegment) {}

uint64_t Segment::CodedSize() const {
  return (size == 0 || size > kMaxKnownSize) ? CLength::kUnknown : size;
}

Extent Segment::Measure() const {
  Extent extent;
  extent.header = static_cast<uint64_t>(IdWidth(id())) + kSizeFieldWidth;
  extent.payload = CodedSize();
  extent.header_only = true;
  return extent;
}

int32_t Segment::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, kMaxHeaderBytes> buffer{};
  const size_t id_bytes = EncodeId(id(), buffer.data());
  const size_t n =
      id_bytes + CLength::Encode(extent.payload, kSizeFieldWidth, buffer.data() + id_bytes);
  stream.Write(buffer.data(), static_cast<uint32_t>(n));
  return kx::kOk;
}

}  // namespace MatroskaWriter
