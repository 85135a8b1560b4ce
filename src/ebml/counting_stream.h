// A pass-through stream that counts the bytes handed to Write. Debug builds
// wrap every element write in one to check that an element emits exactly the
// number of bytes its Size promised.
#ifndef KX_EBML_COUNTING_STREAM_H_
#define KX_EBML_COUNTING_STREAM_H_

#include <cstdint>

#include "src/io/istream.h"

namespace MatroskaWriter {

class CountingStream final : public kx::IStream {
 public:
  explicit CountingStream(kx::IStream& inner) : inner_(inner) {}

  int32_t Read(void* buffer, uint32_t size, uint32_t* done) override;
  int32_t Write(const void* buffer, uint32_t size, uint32_t* done) override;
  int32_t SeekTo(int64_t offset, uint32_t origin, uint64_t* result) override;
  using kx::IStream::Write;

  // Bytes offered to Write, whether or not the inner stream took them all:
  // what is being checked is the element, not the file.
  [[nodiscard]] uint64_t count() const { return count_; }

 private:
  kx::IStream& inner_;
  uint64_t count_ = 0;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_COUNTING_STREAM_H_
