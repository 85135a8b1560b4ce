#include "src/mkv/hevc_mkv_muxer.h"

#include <string>

#include "host/yr_log.h"
#include "src/codec/hevc_sample_reframer.h"
#include "src/codec/hvcc_writer.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/time_units.h"

namespace kx {

int32_t HevcMKVMuxer::WriteVideoSample(const MediaSample& sample) {
  MatroskaStream* track = video_track();
  if (track == nullptr || sample.videoData == nullptr || sample.videoSize <= 0) {
    return 0;
  }
  conversion_buffer_.clear();
  const codec::ReframedSample reframed =
      codec::ReframeHevcSample(sample.videoData, static_cast<size_t>(sample.videoSize),
                               sample.keyframe != 0, conversion_buffer_);
  if (reframed.size == 0) {
    return 0;
  }
  const int32_t result =
      track->AddFrame(conversion_buffer_.data(), static_cast<int32_t>(reframed.size), sample.start,
                      FrameEnd(sample.start, sample.duration), reframed.key_frame ? 1 : 0);
  if (result >= 1) {
    FlushIfDue(true, *track, kMatroskaFlushThreshold);
  }
  return result;
}

void HevcMKVMuxer::SetVideoExtraData(const uint8_t* /*second*/, int32_t /*second_size*/,
                                     const uint8_t* first, int32_t first_size) {
  MatroskaStream* track = video_track();
  if (track == nullptr) {
    return;
  }
  MatroskaWriter::CBinary& codec_private = track->entry().codec_private;
  if (CodecIdStartsWith(track->entry().codec_id.Text(), "V_MPEGH/ISO/HEVC")) {
    codec_private.Clear();
    codec_private.Resize(kHevcCodecPrivateSize);
    uint32_t written = 0;
    if (!codec::ff_isom_write_hvcc(codec_private.bytes().data(), kHevcCodecPrivateSize, first,
                                   first_size, &written)) {
      HostLogFormat(u"[kx_mkv] parse hevc sps pps failed!");
      return;
    }
    // The record is followed by zeros up to the reserved size; the written
    // length is deliberately not applied.
  }
  if (tracks_written()) {
    RewriteTracks();
  }
}

}  // namespace kx
