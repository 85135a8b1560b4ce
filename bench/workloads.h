// The benchmark's workloads: deterministic streams of compressed-looking
// frames, generated in memory before anything is timed, so that every writer
// gets exactly the same bytes and times.
#ifndef KX_BENCH_WORKLOADS_H_
#define KX_BENCH_WORKLOADS_H_

#include <cstdint>
#include <string>
#include <vector>

namespace kx::bench {

struct Frame {
  bool video = false;
  bool key = false;
  const uint8_t* data = nullptr;
  uint32_t size = 0;
  int64_t start = 0;     // 100-ns units
  int32_t duration = 0;  // 100-ns units
};

struct Workload {
  std::string name;
  bool has_video = false;
  // Frames in time order, video and audio interleaved.
  std::vector<Frame> frames;
  uint64_t payload_bytes = 0;
  // Codec configuration handed over before the first frame: Opus or AAC
  // audio, VP9 video (which needs none).
  bool opus = false;
  std::vector<uint8_t> audio_config;
  // Frame bytes are windows into this pool, so that a long workload costs
  // little memory while no two neighbouring frames share their bytes.
  std::vector<uint8_t> pool;
};

// W1 "A/V": 25 fps VP9 video (every 50th frame a 200,000-byte key frame, the
// others 40,000 bytes) and AAC audio of 400-byte frames (1024 samples at
// 48 kHz), for `seconds` of content (120 s: 3000 video and 5625 audio frames).
Workload AudioVideo(int seconds = 120);

// W2 "small frames": `count` Opus frames of 200 bytes, 20 ms apart.
Workload SmallFrames(int count = 200000);

}  // namespace kx::bench

#endif  // KX_BENCH_WORKLOADS_H_
