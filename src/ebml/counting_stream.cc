#include "src/ebml/counting_stream.h"

namespace MatroskaWriter {

int32_t CountingStream::Read(void* buffer, uint32_t size, uint32_t* done) {
  return inner_.Read(buffer, size, done);
}

int32_t CountingStream::Write(const void* buffer, uint32_t size, uint32_t* done) {
  count_ += size;
  return inner_.Write(buffer, size, done);
}

int32_t CountingStream::SeekTo(int64_t offset, uint32_t origin, uint64_t* result) {
  return inner_.SeekTo(offset, origin, result);
}

}  // namespace MatroskaWriter
