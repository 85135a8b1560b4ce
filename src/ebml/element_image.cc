#include "src/ebml/element_image.h"

#include <algorithm>
#include <cstring>

#include "src/ebml/chunk_writer.h"

namespace MatroskaWriter {

uint8_t* ElementImage::Reserve(size_t size) {
  if (bytes_.size() - committed_ < size) {
    bytes_.resize(std::max(2 * bytes_.size(), committed_ + size));
  }
  return bytes_.data() + committed_;
}

void ElementImage::Take(std::vector<uint8_t>&& frame, uint64_t owner) {
  size_ += frame.size();
  taken_.push_back({committed_, std::move(frame), owner});
}

int32_t ElementImage::WriteTo(kx::IStream& stream) const {
  int32_t result = kx::kOk;
  size_t written = 0;
  for (const TakenFrame& taken : taken_) {
    if (taken.bytes_before != written) {
      result = ChunkWriter::WriteAll(stream, bytes_.data() + written, taken.bytes_before - written);
      written = taken.bytes_before;
    }
    result = ChunkWriter::WriteAll(stream, taken.frame.data(), taken.frame.size());
  }
  if (committed_ != written) {
    result = ChunkWriter::WriteAll(stream, bytes_.data() + written, committed_ - written);
  }
  return result;
}

int32_t ElementImage::Read(void* /*buffer*/, uint32_t /*size*/, uint32_t* done) {
  if (done != nullptr) {
    *done = 0;
  }
  return kx::kOk;
}

int32_t ElementImage::Write(const void* buffer, uint32_t size, uint32_t* done) {
  if (size != 0) {
    const auto* data = static_cast<const uint8_t*>(buffer);
    std::memcpy(Reserve(size), data, size);
    Commit(size);
  }
  if (done != nullptr) {
    *done = size;
  }
  return kx::kOk;
}

// Coded blocks are only ever appended.
int32_t ElementImage::SeekTo(int64_t /*offset*/, uint32_t /*origin*/, uint64_t* result) {
  if (result != nullptr) {
    *result = static_cast<uint64_t>(-1);
  }
  return kx::kOk;
}

}  // namespace MatroskaWriter
