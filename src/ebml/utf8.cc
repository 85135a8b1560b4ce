#include "src/ebml/utf8.h"

#include <array>

#include "src/ebml/chunk_writer.h"
#include "src/ebml/utf8_encoder.h"

namespace MatroskaWriter {

CUTF8::CUTF8(uint32_t id) : CID(id) {}

Extent CUTF8::Measure() const {
  if (value_.empty()) {
    return {};
  }
  uint64_t bytes = 0;
  ForEachUtf8Sequence(value_,
                      [&bytes](const uint8_t* /*sequence*/, size_t count) { bytes += count; });
  return Standard(bytes);
}

int32_t CUTF8::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, kMaxHeaderBytes> header{};
  ChunkWriter writer(stream);
  writer.Put(header.data(), EncodeHeader(extent.payload, header.data()));
  ForEachUtf8Sequence(
      value_, [&writer](const uint8_t* sequence, size_t count) { writer.Put(sequence, count); });
  return writer.Flush();
}

}  // namespace MatroskaWriter
