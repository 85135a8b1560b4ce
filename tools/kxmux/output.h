// Where kxmux hands the prepared streams: one catalogue row of the module,
// driven through the single-stream table (one video and one audio track) or
// the multi-stream table (every track, named by its OutStreamIndex).
#ifndef KX_TOOLS_KXMUX_OUTPUT_H_
#define KX_TOOLS_KXMUX_OUTPUT_H_

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "tools/kxmux/track.h"

namespace kxmux {

class Output {
 public:
  Output() = default;
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  // Closes the file if Close was not called.
  virtual ~Output() = default;

  // `first` is the SPS, sequence header or HEVC parameter sets, `second` the PPS.
  virtual void VideoConfiguration(const Track& track, const std::vector<uint8_t>& first,
                                  const std::vector<uint8_t>& second) = 0;
  // Audio configuration, or the script header of a subtitle track.
  virtual void Configuration(const Track& track, const uint8_t* data, size_t size) = 0;
  // False when the module refused the sample (as far as the table tells).
  virtual bool Write(const Track& track, MediaSample& sample) = 0;
  // Whether Write learns of refusals: the multi-stream table does not.
  [[nodiscard]] virtual bool reports_refusals() const = 0;
  virtual void Close() = 0;
};

// Creates the file through a single-stream row; null with *error set when
// the module refuses. `video` and `audio` may be null.
std::unique_ptr<Output> OpenSingleTable(const FileFormat& row, const std::string& path,
                                        AVFormatContext* input, const Track* video,
                                        const Track* audio, std::string* error);

// Creates the file through a multi-stream row with one stream per track, in
// their order; null with *error set when the module refuses.
std::unique_ptr<Output> OpenMultiTable(const FileMultiStreamFormat& row, const std::string& path,
                                       AVFormatContext* input,
                                       const std::vector<const Track*>& tracks, std::string* error);

// The record the host fills for the tracks of one file (or, through the
// multi-stream table, of one stream): all zero but the parts of the tracks
// given; "no video" and "no audio" are set for the kinds not given.
std::unique_ptr<MediaFileParams> MakeParams(uint32_t container, AVFormatContext* input,
                                            const Track* video, const Track* audio,
                                            const Track* subtitle = nullptr);

// The display aspect ratio of a video track, reduced; nullopt when the
// input does not say.
std::optional<std::pair<int, int>> DisplayAspect(AVFormatContext* input, const Track& video);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_OUTPUT_H_
