// Test support: a host that writes one file through a single-stream
// catalogue row's functions, as the conversion host does.
#ifndef KX_TESTS_SUPPORT_TABLE_HOST_H_
#define KX_TESTS_SUPPORT_TABLE_HOST_H_

#include <cstdint>
#include <string>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kx::test {

constexpr int64_t kTicksPerMs = 10000;  // host times are in 100-ns units

using Bytes = std::vector<uint8_t>;

// A FourCC's value: its four characters, lowest byte first.
uint32_t Code(const char* text);

// The single-stream catalogue row of a container FourCC ("MKV ", "KMKV",
// "HMKV", "MKA ", "WEBM"); throws when the catalogue lacks it.
const FileFormat& Row(const char* container);

// Zeroed parameters with the fields a host sets. A null `video` or `audio`
// FourCC sets noVideo or noAudio. 16 bits per audio sample.
MediaFileParams FileParams(const char* container, const char* video, int width, int height,
                           double fps, const char* audio, int sample_rate, int channels);

class TableFile {
 public:
  TableFile(const FileFormat& row, const std::u16string& path, const MediaFileParams& params);
  TableFile(const TableFile&) = delete;
  TableFile& operator=(const TableFile&) = delete;
  ~TableFile() { Close(); }

  bool ok() const { return handle_ != nullptr; }
  // Times in 100-ns units; the return value is WriteVideoData's / WriteAudioData's.
  int32_t Video(Bytes data, int64_t start, int64_t duration, bool key);
  // Non-empty `frame_sizes` go along as a FrameSizeTable: `data` holds
  // several frames back to back.
  int32_t Audio(Bytes data, int64_t start, int64_t duration,
                const std::vector<uint32_t>& frame_sizes = {});
  void VideoExtra(const Bytes& first, const Bytes& second);
  void AudioExtra(const Bytes& config);
  // CloseMediaFile once; 0 when there was nothing to close.
  int32_t Close();

 private:
  const FileFormat& row_;
  void* handle_;
};

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_TABLE_HOST_H_
