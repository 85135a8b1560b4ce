#include "src/webm/matroska_stream_webm.h"

#include "src/mkv/codec_ids.h"
#include "src/mkv/track_setup.h"

namespace kx {

int32_t SetupWebmVideoTrack(MatroskaStreamWebm& stream, const VideoParams& video) {
  stream.BeginSetup(kWebmVideoTrackNumber, kVideoTrackType);
  MatroskaWriter::TrackEntry& entry = stream.entry();
  SetDefaultDurationAndPixels(entry, video);
  SetPixelDisplaySize(entry, video);
  SetVideoCodec(entry, video, WebmVideoCodecId(video.fourcc));
  return 0;
}

int32_t SetupWebmAudioTrack(MatroskaStreamWebm& stream, const AudioParams& audio) {
  stream.BeginSetup(kWebmAudioTrackNumber, kAudioTrackType);
  SetAudioFields(stream.entry(), audio, WebmAudioCodecId(audio.fourcc));
  return 0;
}

}  // namespace kx
