#include "src/ebml/cid.h"

#include <array>
#include <cassert>

#include "src/ebml/chunk_writer.h"
#include "src/ebml/counting_stream.h"
#include "src/ebml/length.h"
#include "src/ebml/size_plan.h"

namespace MatroskaWriter {

CID::CID(uint32_t id) : id_(id) { CodeId(); }

CID::~CID() = default;

uint64_t CID::Size(bool with_header) const {
  const Extent extent = Measure();
  return with_header ? extent.total() : extent.payload;
}

int32_t CID::Write(kx::IStream& stream) const {
  SizePlan plan;
  Plan(plan);
  return WritePlanned(stream, plan);
}

Extent CID::Plan(SizePlan& plan) const {
  const Extent extent = Measure();
  plan.Add(extent);
  return extent;
}

int32_t CID::WritePlanned(kx::IStream& stream, SizePlan& plan) const {
  const size_t index = plan.cursor();
  const Extent extent = plan.Next();
  int32_t result = kx::kOk;
  if (!extent.codable) {
    result = kNotCodable;
  } else if (extent.written() != 0) {  // else left out of the file
#ifndef NDEBUG
    // The one place where every element's output is checked against its Size.
    CountingStream counter(stream);
    result = EmitPlanned(counter, extent, plan);
    assert(counter.count() == extent.written() &&
           "element wrote a different size than it measured");
#else
    result = EmitPlanned(stream, extent, plan);
#endif
  }
  plan.SkipFrom(index);
  return result;
}

Extent CID::Measure() const {
  Extent extent;
  extent.payload = static_cast<uint64_t>(IdWidth(id_));
  return extent;
}

int32_t CID::Emit(kx::IStream& stream, const Extent& /*extent*/) const {
  std::array<uint8_t, 4> buffer{};
  const size_t n = EncodeId(id_, buffer.data());
  return stream.Write(buffer.data(), static_cast<uint32_t>(n));
}

int32_t CID::EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& /*plan*/) const {
  return Emit(stream, extent);
}

int32_t CID::WriteHeader(kx::IStream& stream, uint64_t payload) const {
  std::array<uint8_t, kMaxHeaderBytes> buffer{};
  const size_t n = EncodeHeader(payload, buffer.data());
  return stream.Write(buffer.data(), static_cast<uint32_t>(n));
}

int32_t CID::WriteWithBytes(kx::IStream& stream, const uint8_t* data, uint64_t size) const {
  std::array<uint8_t, kMaxHeaderBytes> header{};
  ChunkWriter writer(stream);
  writer.Put(header.data(), EncodeHeader(size, header.data()));
  writer.Put(data, size);
  return writer.Flush();
}

}  // namespace MatroskaWriter
