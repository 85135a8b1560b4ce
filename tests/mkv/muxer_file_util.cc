#include "tests/mkv/muxer_file_util.h"

#include <cstring>

#include "src/platform/clock.h"

namespace kx::test {

namespace {
constexpr int32_t kTicksPerMs = 10000;
}  // namespace

MediaFileParams MuxerParams(const char (&video)[5], const char (&audio)[5]) {
  MediaFileParams params{};
  std::memcpy(&params.containerFourcc, "MKV ", 4);
  std::memcpy(&params.video.fourcc, video, 4);
  params.video.width = 320;
  params.video.height = 240;
  params.video.frameRate = 25;
  std::memcpy(&params.audio.fourcc, audio, 4);
  params.audio.sampleRate = 48000;
  params.audio.channels = 2;
  params.audio.bitsPerSample = 16;
  return params;
}

MediaSample VideoSample(std::vector<uint8_t>& data, int64_t start_ms, bool key,
                        int32_t duration_ms) {
  MediaSample sample{};
  sample.videoData = data.data();
  sample.videoSize = static_cast<int32_t>(data.size());
  sample.keyframe = key ? 1 : 0;
  sample.start = start_ms * kTicksPerMs;
  sample.duration = duration_ms * kTicksPerMs;
  return sample;
}

MediaSample AudioSample(std::vector<uint8_t>& data, int64_t start_ms, int32_t duration_ms) {
  MediaSample sample{};
  sample.audioData = data.data();
  sample.audioSize = static_cast<int32_t>(data.size());
  sample.start = start_ms * kTicksPerMs;
  sample.duration = duration_ms * kTicksPerMs;
  return sample;
}

// 800 000 000 s after 2001-01-01: DateUTC needs all 8 bytes.
PinnedTime::PinnedTime() { platform::PinCurrentUnixTime(978307200 + 800000000); }

PinnedTime::~PinnedTime() { platform::PinCurrentUnixTime(std::nullopt); }

}  // namespace kx::test
