#include "tests/support/memory_stream.h"

#include <algorithm>
#include <cstring>

namespace kx::test {

int32_t MemoryStream::Read(void* buffer, uint32_t size, uint32_t* done) {
  uint64_t available = position_ < bytes_.size() ? bytes_.size() - position_ : 0;
  const auto count = static_cast<uint32_t>(std::min<uint64_t>(size, available));
  if (count != 0) {
    std::memcpy(buffer, bytes_.data() + position_, count);
  }
  position_ += count;
  if (done != nullptr) {
    *done = count;
  }
  return kx::kOk;
}

int32_t MemoryStream::Write(const void* buffer, uint32_t size, uint32_t* done) {
  write_sizes_.push_back(size);
  if (failing_armed_) {
    if (writes_before_failure_ == 0) {
      if (done != nullptr) {
        *done = 0;
      }
      return failure_result_;
    }
    --writes_before_failure_;
  }
  const uint64_t end = position_ + size;
  if (end > bytes_.size()) {
    bytes_.resize(end, 0);
  }
  if (size != 0) {
    std::memcpy(bytes_.data() + position_, buffer, size);
  }
  position_ = end;
  if (done != nullptr) {
    *done = size;
  }
  return kx::kOk;
}

int32_t MemoryStream::SeekTo(int64_t offset, uint32_t origin, uint64_t* result) {
  int64_t base = 0;
  if (origin == kx::kSeekCurrent) {
    base = static_cast<int64_t>(position_);
  } else if (origin == kx::kSeekEnd) {
    base = static_cast<int64_t>(bytes_.size());
  }
  const int64_t target = base + offset;
  const bool ok = origin <= kx::kSeekEnd && target >= 0;
  if (ok) {
    position_ = static_cast<uint64_t>(target);
  }
  if (result != nullptr) {
    *result = ok ? 0 : static_cast<uint64_t>(int64_t{-1});
  }
  return kx::kOk;
}

void MemoryStream::FailWritesAfter(size_t successful_writes, int32_t result) {
  failing_armed_ = true;
  writes_before_failure_ = successful_writes;
  failure_result_ = result;
}

}  // namespace kx::test
