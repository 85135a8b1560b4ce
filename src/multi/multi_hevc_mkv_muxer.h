// The multi-stream Matroska muxer for files whose video is HEVC: video
// samples are reframed and the parameter sets become the hvcC record, as in
// the single-stream HEVC muxer.
#ifndef KX_MULTI_MULTI_HEVC_MKV_MUXER_H_
#define KX_MULTI_MULTI_HEVC_MKV_MUXER_H_

#include <cstdint>
#include <vector>

#include "src/multi/multi_mkv_muxer.h"

namespace kx {

class MultiHevcMKVMuxer : public MultiMKVMuxer {
 public:
  MultiHevcMKVMuxer() : MultiMKVMuxer(false) {}

  // Annex B input only. HEVC samples do not count towards the Duration
  // (the audio decides it) and carry no block additions.
  int32_t WriteVideoSample(uint32_t index, const MediaSample& sample) override;
  // `first` holds VPS, SPS, PPS (and SEI) in Annex B form; `second` is unused.
  void SetVideoExtraData(uint32_t index, const uint8_t* second, int32_t second_size,
                         const uint8_t* first, int32_t first_size) override;

 private:
  std::vector<uint8_t> conversion_buffer_;
};

}  // namespace kx

#endif  // KX_MULTI_MULTI_HEVC_MKV_MUXER_H_
