// A track of a WebM file: every frame becomes a SimpleBlock, the video track
// is number 1 and the audio track number 2, and the codec vocabulary is the
// WebM one (AV1 and HEVC take the VFW fallback, "WAAC" is not AAC).
#ifndef KX_WEBM_MATROSKA_STREAM_WEBM_H_
#define KX_WEBM_MATROSKA_STREAM_WEBM_H_

#include <cstdint>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

inline constexpr uint64_t kWebmVideoTrackNumber = 1;
inline constexpr uint64_t kWebmAudioTrackNumber = 2;

class MatroskaStreamWebm : public MatroskaStream {
 public:
  // SimpleBlocks only: WebM tracks carry no block additions.
  MatroskaStreamWebm() : MatroskaStream(/*use_simple_block=*/true) {}
};

// Both return 0: nothing in the parameters makes a setup fail.
// Video: pixel size as display size (DisplayUnit 3), no AlphaMode, no frame
// rate, no projection; the host's aspect ratio is not consulted.
int32_t SetupWebmVideoTrack(MatroskaStreamWebm& stream, const VideoParams& video);
int32_t SetupWebmAudioTrack(MatroskaStreamWebm& stream, const AudioParams& audio);

}  // namespace kx

#endif  // KX_WEBM_MATROSKA_STREAM_WEBM_H_
