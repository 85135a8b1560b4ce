#include "src/mkv/single_stream_muxer.h"

#include <string>
#include <utility>

#include "src/mkv/sample_paths.h"
#include "src/mkv/time_units.h"

namespace kx {

SingleStreamMuxer::SingleStreamMuxer(const Rules& rules)
    : MatroskaFileWriter(rules.cluster_span_ms), rules_(rules) {}

int32_t SingleStreamMuxer::Init(const char16_t* path, const MediaFileParams& params) {
  if (!OpenOutput(path)) {
    return 0;
  }
  video_params_ = params.video;
  tracks().clear();
  video_track_ = nullptr;
  audio_track_ = nullptr;
  ResetFileState();
  audio_duration_sum_ = 0;

  // A kind left out counts as seen, so the other never waits for it.
  if (params.noVideo != 0) {
    video_seen_ = true;
  } else if (auto stream = MakeVideoTrack(params.video)) {
    video_track_ = stream.get();
    tracks().push_back(std::move(stream));
  }
  if (params.noAudio != 0) {
    audio_seen_ = true;
  } else if (auto stream = MakeAudioTrack(params.audio)) {
    audio_track_ = stream.get();
    tracks().push_back(std::move(stream));
  }
  return 1;
}

// The video track's key frames get cue points; without video the number 2.
// In a Matroska file no track carries 2 (its audio track is 3): audio blocks
// are all key frames, and cueing each would only bloat the Cues. In a WebM
// file 2 is the audio track, whose key frames a player then seeks by.
uint64_t SingleStreamMuxer::ChooseCueTrack() const {
  for (const auto& track : tracks()) {
    if (track->track_type() == kVideoTrackType) {
      return track->track_number();
    }
  }
  return 2;
}

int32_t SingleStreamMuxer::QueueVideoSample(VideoIntake& intake, const MediaSample& sample) {
  if (video_track_ == nullptr) {
    return 0;
  }
  const int32_t result = intake.Add(*video_track_, sample, video_params_.fourcc, false);
  if (result > 0) {
    FlushIfDue(true, *video_track_, rules_.flush_threshold);
  }
  return result;
}

int32_t SingleStreamMuxer::WriteAudioSample(const MediaSample& sample,
                                            const FrameSizeTable* frames) {
  audio_duration_sum_ = SaturatingAdd(audio_duration_sum_, sample.duration);
  if (audio_track_ == nullptr) {
    return 0;
  }
  const int32_t total = AddAudioFrames(*audio_track_, sample, frames, rules_.table_frame_key);
  if (total >= 1) {
    FlushIfDue(false, *audio_track_, rules_.flush_threshold);
  }
  return total;
}

void SingleStreamMuxer::SetAudioExtraData(const uint8_t* data, int32_t size) {
  if (audio_track_ == nullptr || data == nullptr || size < 1) {
    return;
  }
  const std::string codec_id = audio_track_->entry().codec_id.Text();
  if (codec_id != "A_AAC" && codec_id != "A_VORBIS" && codec_id != "A_OPUS") {
    return;
  }
  StoreCodecPrivate(*audio_track_, data, static_cast<size_t>(size));
}

void SingleStreamMuxer::SetVideoExtraData(const uint8_t* second, int32_t second_size,
                                          const uint8_t* first, int32_t first_size) {
  if (video_track_ == nullptr) {
    return;
  }
  StoreVideoConfiguration(*video_track_, second, second_size, first, first_size);
}

}  // namespace kx
