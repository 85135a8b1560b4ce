// Turns an HEVC sample from Annex B (start codes) into the length-prefixed
// NAL units that Matroska's V_MPEGH/ISO/HEVC blocks carry.
#ifndef KX_CODEC_HEVC_SAMPLE_REFRAMER_H_
#define KX_CODEC_HEVC_SAMPLE_REFRAMER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kx::codec {

struct ReframedSample {
  size_t size = 0;         // bytes appended; 0 when no unit was kept
  bool key_frame = false;  // the sample's flag, or as the last unit kept says
};

// Appends every NAL unit of the sample except VPS, SPS and PPS (they travel in
// CodecPrivate) to `out`, each preceded by its length as 32 bits big-endian;
// `out` grows as needed. The key-frame flag starts as `key_frame` and is then
// decided by each unit kept in turn: set for IDR_W_RADL, IDR_N_LP and CRA_NUT,
// clear for anything else. Bytes before the first start code are ignored, so
// a sample that is already length-prefixed yields nothing. If `out` cannot
// grow it is left as it was and nothing is reported appended.
ReframedSample ReframeHevcSample(const uint8_t* data, size_t size, bool key_frame,
                                 std::vector<uint8_t>& out);

}  // namespace kx::codec

#endif  // KX_CODEC_HEVC_SAMPLE_REFRAMER_H_
