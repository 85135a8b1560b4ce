// A muxer under test writing a real file in a private directory, with the
// time pinned so that files are reproducible.
#ifndef KX_TESTS_MKV_MUXER_FILE_UTIL_H_
#define KX_TESTS_MKV_MUXER_FILE_UTIL_H_

#include <cstdint>
#include <string>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "tests/support/temp_dir.h"

namespace kx::test {

// 320x240 at 25 frames per second, 48 kHz stereo, in an "MKV " file.
MediaFileParams MuxerParams(const char (&video)[5], const char (&audio)[5]);

MediaSample VideoSample(std::vector<uint8_t>& data, int64_t start_ms, bool key,
                        int32_t duration_ms = 40);
MediaSample AudioSample(std::vector<uint8_t>& data, int64_t start_ms, int32_t duration_ms = 32);

// Pins the time for its lifetime (DateUTC in 2026, all 8 bytes used).
class PinnedTime {
 public:
  PinnedTime();
  PinnedTime(const PinnedTime&) = delete;
  PinnedTime& operator=(const PinnedTime&) = delete;
  ~PinnedTime();
};

}  // namespace kx::test

#endif  // KX_TESTS_MKV_MUXER_FILE_UTIL_H_
