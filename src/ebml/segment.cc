#include "src/ebml/segment.h"

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
  extent.header = static_cast<uint64_t>(IdWidth(id()) + kSizeFieldWidth);
  extent.payload = CodedSize();
  extent.header_only = true;
  return extent;
}

int32_t Segment::Emit(kx::IStream& stream, const Extent& extent) const {
  uint8_t buffer[kMaxHeaderBytes];
  const size_t id_bytes = EncodeId(id(), buffer);
  const size_t n = id_bytes + CLength::Encode(extent.payload, kSizeFieldWidth, buffer + id_bytes);
  stream.Write(buffer, static_cast<uint32_t>(n));
  return kx::kOk;
}

}  // namespace MatroskaWriter
