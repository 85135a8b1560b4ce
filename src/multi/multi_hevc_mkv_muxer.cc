#include "src/multi/multi_hevc_mkv_muxer.h"

#include "src/mkv/hevc_track.h"

namespace kx {

int32_t MultiHevcMKVMuxer::WriteVideoSample(uint32_t index, const MediaSample& sample) {
  MatroskaStream* track = FindTrack(index);
  if (track == nullptr) {
    return 0;
  }
  return Queued(true, *track, AddHevcSample(*track, sample, conversion_buffer_));
}

void MultiHevcMKVMuxer::SetVideoExtraData(uint32_t index, const uint8_t* /*second*/,
                                          int32_t /*second_size*/, const uint8_t* first,
                                          int32_t first_size) {
  MatroskaStream* track = FindTrack(index);
  if (track == nullptr || !StoreHevcConfiguration(*track, first, first_size)) {
    return;
  }
  if (tracks_written()) {
    RewriteTracks();
  }
}

}  // namespace kx
