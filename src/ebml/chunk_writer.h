// Gathers the small pieces of an element (ID, size field, scalar payloads,
// block headers, UTF-8 text) in a stack buffer so that they reach the stream
// in few Write calls; large payloads bypass the buffer and go to the stream
// in one call.
#ifndef KX_EBML_CHUNK_WRITER_H_
#define KX_EBML_CHUNK_WRITER_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "src/io/istream.h"

namespace MatroskaWriter {

class ChunkWriter {
 public:
  explicit ChunkWriter(kx::IStream& stream) : stream_(stream) {}
  ChunkWriter(const ChunkWriter&) = delete;
  ChunkWriter& operator=(const ChunkWriter&) = delete;
  ~ChunkWriter() = default;

  void Put(uint8_t byte);
  // Copies small data into the buffer; data larger than the buffer is written
  // straight through after what is buffered.
  void Put(const uint8_t* data, uint64_t size);
  // Writes what is buffered and returns the result of the last stream write
  // (0 when nothing was ever written).
  int32_t Flush();

  // Writes `size` bytes with as few stream calls as the 32-bit size of
  // IStream::Write allows; returns the result of the last call.
  static int32_t WriteAll(kx::IStream& stream, const uint8_t* data, uint64_t size);

 private:
  static constexpr size_t kCapacity = 256;

  kx::IStream& stream_;
  // Left uninitialised: only bytes already put are ever written out.
  std::array<uint8_t, kCapacity> buffer_;
  size_t used_ = 0;
  int32_t result_ = kx::kOk;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CHUNK_WRITER_H_
