#include "src/ebml/chunk_writer.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace MatroskaWriter {

void ChunkWriter::Put(uint8_t byte) {
  if (used_ == kCapacity) {
    Flush();
  }
  buffer_[used_++] = byte;
}

void ChunkWriter::Put(const uint8_t* data, uint64_t size) {
  if (size == 0) {
    return;
  }
  if (size > kCapacity - used_) {
    Flush();
    if (size > kCapacity) {
      result_ = WriteAll(stream_, data, size);
      return;
    }
  }
  std::memcpy(buffer_.data() + used_, data, static_cast<size_t>(size));
  used_ += static_cast<size_t>(size);
}

int32_t ChunkWriter::Flush() {
  if (used_ != 0) {
    result_ = stream_.Write(buffer_.data(), static_cast<uint32_t>(used_));
    used_ = 0;
  }
  return result_;
}

int32_t ChunkWriter::WriteAll(kx::IStream& stream, const uint8_t* data, uint64_t size) {
  constexpr uint64_t kMaxPiece = std::numeric_limits<uint32_t>::max();
  int32_t result = kx::kOk;
  while (size != 0) {
    const uint64_t piece = std::min(size, kMaxPiece);
    result = stream.Write(data, static_cast<uint32_t>(piece));
    data += piece;
    size -= piece;
  }
  return result;
}

}  // namespace MatroskaWriter
