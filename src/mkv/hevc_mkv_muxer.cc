#include "src/mkv/hevc_mkv_muxer.h"

#include "src/mkv/hevc_track.h"

namespace kx {

int32_t HevcMKVMuxer::WriteVideoSample(const MediaSample& sample) {
  MatroskaStream* track = video_track();
  if (track == nullptr) {
    return 0;
  }
  const int32_t result = AddHevcSample(*track, sample, conversion_buffer_);
  if (result >= 1) {
    FlushIfDue(true, *track, kMatroskaFlushThreshold);
  }
  return result;
}

void HevcMKVMuxer::SetVideoExtraData(const uint8_t* /*second*/, int32_t /*second_size*/,
                                     const uint8_t* first, int32_t first_size) {
  MatroskaStream* track = video_track();
  if (track == nullptr || !StoreHevcConfiguration(*track, first, first_size)) {
    return;
  }
  if (tracks_written()) {
    RewriteTracks();
  }
}

}  // namespace kx
