// The single-stream muxer for HEVC video: Annex B samples become
// length-prefixed NAL units without parameter sets, and the parameter sets
// become the hvcC record in CodecPrivate.
#ifndef KX_MKV_HEVC_MKV_MUXER_H_
#define KX_MKV_HEVC_MKV_MUXER_H_

#include <cstdint>
#include <vector>

#include "src/mkv/mkv_muxer.h"

namespace kx {

class HevcMKVMuxer : public MKVMuxer {
 public:
  using MKVMuxer::MKVMuxer;

  // Annex B input only: a sample without start codes writes nothing. There
  // is no processor-load pacing on this path.
  int32_t WriteVideoSample(const MediaSample& sample) override;
  // `first` holds VPS, SPS, PPS (and SEI) in Annex B form; `second` is unused.
  void SetVideoExtraData(const uint8_t* second, int32_t second_size, const uint8_t* first,
                         int32_t first_size) override;

 private:
  std::vector<uint8_t> conversion_buffer_;
};

}  // namespace kx

#endif  // KX_MKV_HEVC_MKV_MUXER_H_
