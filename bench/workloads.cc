#include "bench/workloads.h"

namespace kx::bench {
namespace {

constexpr int64_t kTicksPerSecond = 10000000;
constexpr size_t kPoolBytes = size_t{16} << 20;

// A fixed pseudo-random fill (xorshift), so that the payload does not
// compress and every run sees the same bytes.
std::vector<uint8_t> MakePool() {
  std::vector<uint8_t> pool(kPoolBytes);
  uint64_t x = 0x9E3779B97F4A7C15ULL;
  for (uint8_t& byte : pool) {
    x ^= x << 13;
    x ^= x >> 7;
    x ^= x << 17;
    byte = static_cast<uint8_t>(x >> 24);
  }
  return pool;
}

// Hands out consecutive windows of the pool, wrapping around at its end.
class PoolCursor {
 public:
  explicit PoolCursor(const std::vector<uint8_t>& pool) : pool_(pool) {}
  const uint8_t* Take(uint32_t size) {
    if (offset_ + size > pool_.size()) {
      offset_ = (offset_ + 4099) % 65536;  // a different alignment each lap
    }
    const uint8_t* data = pool_.data() + offset_;
    offset_ += size;
    return data;
  }

 private:
  const std::vector<uint8_t>& pool_;
  size_t offset_ = 0;
};

Workload Begin(const char* name) {
  Workload workload;
  workload.name = name;
  workload.pool = MakePool();
  return workload;
}

void Add(Workload& workload, PoolCursor& cursor, bool video, bool key, uint32_t size, int64_t start,
         int32_t duration) {
  workload.frames.push_back(Frame{video, key, cursor.Take(size), size, start, duration});
  workload.payload_bytes += size;
}

}  // namespace

Workload AudioVideo(int seconds) {
  Workload workload = Begin("W1 A/V");
  workload.has_video = true;
  workload.audio_config = {0x11, 0x90};  // AAC-LC, 48 kHz, stereo
  PoolCursor cursor(workload.pool);
  const int64_t video_count = int64_t{25} * seconds;
  const int64_t audio_count = int64_t{48000} * seconds / 1024;
  workload.frames.reserve(static_cast<size_t>(video_count + audio_count));
  constexpr int32_t kVideoDuration = kTicksPerSecond / 25;
  int64_t v = 0;
  int64_t a = 0;
  while (v < video_count || a < audio_count) {
    const int64_t video_start = v * kVideoDuration;
    const int64_t audio_start = a * 1024 * kTicksPerSecond / 48000;
    if (v < video_count && (a >= audio_count || video_start <= audio_start)) {
      const bool key = v % 50 == 0;
      Add(workload, cursor, true, key, key ? 200000 : 40000, video_start, kVideoDuration);
      ++v;
    } else {
      const int64_t next = (a + 1) * 1024 * kTicksPerSecond / 48000;
      Add(workload, cursor, false, true, 400, audio_start,
          static_cast<int32_t>(next - audio_start));
      ++a;
    }
  }
  return workload;
}

Workload SmallFrames(int count) {
  Workload workload = Begin("W2 small frames");
  workload.opus = true;
  // OpusHead: version 1, 2 channels, pre-skip 312, 48 kHz, gain 0, family 0.
  workload.audio_config = {'O',  'p',  'u',  's',  'H', 'e', 'a', 'd', 1, 2,
                           0x38, 0x01, 0x80, 0xBB, 0,   0,   0,   0,   0};
  PoolCursor cursor(workload.pool);
  constexpr int32_t kDuration = kTicksPerSecond / 50;
  workload.frames.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    Add(workload, cursor, false, true, 200, int64_t{i} * kDuration, kDuration);
  }
  return workload;
}

}  // namespace kx::bench
