#include "src/ebml/cid.h"

#include <array>
#include <cassert>

#include "src/ebml/chunk_writer.h"
#include "src/ebml/counting_stream.h"
#include "src/ebml/length.h"
#include "src/ebml/size_plan.h"

namespace MatroskaWriter {

CID::CID(uint32_t id) : id_(id) {}

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

uint64_t CID::HeaderSize(uint64_t payload_size) const {
  const int width = payload_size > kMaxKnownSize ? 8 : CLength::Width(payload_size);
  return static_cast<uint64_t>(IdWidth(id_)) + static_cast<uint64_t>(width);
}

Extent CID::Measure() const {
  Extent extent;
  extent.payload = static_cast<uint64_t>(IdWidth(id_));
  return extent;
}

int CID::IdWidth(uint32_t id) {
  int n = 0;
  while (id != 0) {
    ++n;
    id >>= 8;
  }
  return n;
}

size_t CID::EncodeId(uint32_t id, uint8_t* out) {
  const int n = IdWidth(id);
  for (int i = n - 1; i >= 0; --i) {
    out[i] = static_cast<uint8_t>(id);
    id >>= 8;
  }
  if (n != 0) {
    // Force the length marker of an n-byte ID; a well-formed ID already has it.
    const auto marker = static_cast<uint8_t>(0x80U >> (n - 1));
    out[0] = static_cast<uint8_t>((out[0] & ((marker << 1U) - 1U)) | marker);
  }
  return static_cast<size_t>(n);
}

int32_t CID::Emit(kx::IStream& stream, const Extent& /*extent*/) const {
  std::array<uint8_t, 4> buffer{};
  const size_t n = EncodeId(id_, buffer.data());
  return stream.Write(buffer.data(), static_cast<uint32_t>(n));
}

int32_t CID::EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& /*plan*/) const {
  return Emit(stream, extent);
}

Extent CID::Standard(uint64_t payload) const {
  Extent extent;
  extent.header = HeaderSize(payload);
  extent.payload = payload;
  extent.codable = payload <= kMaxKnownSize;
  return extent;
}

size_t CID::EncodeHeader(uint64_t payload, uint8_t* out) const {
  const size_t id_bytes = EncodeId(id_, out);
  return id_bytes + CLength::Encode(payload, CLength::Width(payload), out + id_bytes);
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
