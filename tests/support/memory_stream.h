// Test support: an IStream over an in-memory byte buffer with a position, so
// that elements can be written, read back and overwritten in place without a
// file. It also records the size of every Write call, for tests that care how
// output is split, and can be told to start failing writes.
#ifndef KX_TESTS_SUPPORT_MEMORY_STREAM_H_
#define KX_TESTS_SUPPORT_MEMORY_STREAM_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "src/io/istream.h"

namespace kx::test {

class MemoryStream : public kx::IStream {
 public:
  // Reads from the position; `done` gets the bytes read (fewer at the end).
  int32_t Read(void* buffer, uint32_t size, uint32_t* done) override;
  // Writes at the position, overwriting and then extending the buffer; a
  // position beyond the end is reached by zero filling.
  int32_t Write(const void* buffer, uint32_t size, uint32_t* done) override;
  // Like a muxer's stream: the status (0, or -1 for a position before the
  // start, which leaves the position unchanged) goes to `result`; returns 0.
  int32_t SeekTo(int64_t offset, uint32_t origin, uint64_t* result) override;
  using kx::IStream::Write;

  const std::vector<uint8_t>& bytes() const { return bytes_; }
  uint64_t position() const { return position_; }
  // Size of every Write call so far, including failed ones.
  const std::vector<uint32_t>& write_sizes() const { return write_sizes_; }

  // After `successful_writes` more successful writes, every Write stores
  // nothing and returns `result`.
  void FailWritesAfter(size_t successful_writes, int32_t result);

 private:
  std::vector<uint8_t> bytes_;
  uint64_t position_ = 0;
  std::vector<uint32_t> write_sizes_;
  bool failing_armed_ = false;
  size_t writes_before_failure_ = 0;
  int32_t failure_result_ = kx::kOk;
};

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_MEMORY_STREAM_H_
