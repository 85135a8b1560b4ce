#include "src/mkv/hevc_track.h"

#include "host/yr_log.h"
#include "src/codec/hevc_sample_reframer.h"
#include "src/codec/hvcc_writer.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/time_units.h"

namespace kx {

int32_t AddHevcSample(MatroskaStream& track, const MediaSample& sample,
                      std::vector<uint8_t>& buffer) {
  if (sample.videoData == nullptr || sample.videoSize <= 0) {
    return 0;
  }
  buffer.clear();
  const codec::ReframedSample reframed = codec::ReframeHevcSample(
      sample.videoData, static_cast<size_t>(sample.videoSize), sample.keyframe != 0, buffer);
  if (reframed.size == 0) {
    return 0;
  }
  return track.AddFrame(buffer.data(), static_cast<int32_t>(reframed.size), sample.start,
                        FrameEnd(sample.start, sample.duration), reframed.key_frame ? 1 : 0);
}

bool StoreHevcConfiguration(MatroskaStream& track, const uint8_t* first, int32_t first_size) {
  if (!CodecIdStartsWith(track.entry().codec_id.Text(), "V_MPEGH/ISO/HEVC")) {
    return true;
  }
  MatroskaWriter::CBinary& codec_private = track.entry().codec_private;
  codec_private.Clear();
  codec_private.Resize(kHevcCodecPrivateSize);
  uint32_t written = 0;
  if (!codec::ff_isom_write_hvcc(codec_private.bytes().data(), kHevcCodecPrivateSize, first,
                                 first_size, &written)) {
    HostLogFormat(u"[kx_mkv] parse hevc sps pps failed!");
    return false;
  }
  // The record is followed by zeros up to the reserved size; the written
  // length is deliberately not applied.
  return true;
}

}  // namespace kx
