#include "src/mkv/mkv_muxer.h"

#include <string>

#include "host/yr_utility.h"
#include "src/codec/fourcc.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/sample_paths.h"
#include "src/mkv/time_units.h"
#include "src/mkv/track_setup.h"

namespace kx {
namespace {

constexpr int64_t kClusterSpanMs = 300;
constexpr uint32_t kVideoIndex = 1;  // TrackNumber 2
constexpr uint32_t kAudioIndex = 2;  // TrackNumber 3

}  // namespace

MKVMuxer::MKVMuxer(DisplayAspect aspect)
    : SingleStreamMuxer(kClusterSpanMs), aspect_(aspect), pacing_(cpu_num_processors()) {}

MKVMuxer::~MKVMuxer() { Close(); }

int32_t MKVMuxer::Init(const char16_t* path, const MediaFileParams& params) {
  const uint32_t fourcc = params.video.fourcc;
  start_code_check_ = fourcc == FourCC("H264") || fourcc == FourCC("B264");
  conversion_buffer_.clear();
  if (!OpenOutput(path)) {
    return 0;
  }
  video_params_ = params.video;
  pacing_.Configure(params);

  tracks().clear();
  video_track_ = nullptr;
  audio_track_ = nullptr;
  ResetFileState();
  audio_duration_sum_ = 0;

  if (params.noVideo != 0) {
    video_seen_ = true;
  } else {
    VideoParams video = params.video;
    video.aspectNumerator = aspect_.numerator;
    video.aspectDenominator = aspect_.denominator;
    video.flags = 1;
    auto stream = std::make_unique<MatroskaStream>();
    if (SetupVideoTrack(*stream, video, kVideoIndex) >= 0) {
      video_track_ = stream.get();
      tracks().push_back(std::move(stream));
    }
  }
  if (params.noAudio != 0) {
    audio_seen_ = true;
  } else {
    auto stream = std::make_unique<MatroskaStream>();
    if (SetupAudioTrack(*stream, params.audio, kAudioIndex) >= 0) {
      audio_track_ = stream.get();
      tracks().push_back(std::move(stream));
    }
  }
  return 1;
}

void MKVMuxer::FillEbmlHeader(MatroskaWriter::EBML& header) const {
  header.doc_type.Set(IsWebmVideoFourCC(video_params_.fourcc) ? "webm" : "matroska");
  header.doc_type_version.Set(1);
  header.doc_type_read_version.Set(1);
}

// The video track's key frames get cue points. Without video the number 2 is
// kept, which no track of such a file carries (its audio track is 3): audio
// blocks are all key frames, and cueing each would only bloat the Cues.
uint64_t MKVMuxer::ChooseCueTrack() const {
  for (const auto& track : tracks()) {
    if (track->track_type() == kVideoTrackType) {
      return track->track_number();
    }
  }
  return 2;
}

void MKVMuxer::FlushIfDue(bool video_written, const MatroskaStream& written, size_t threshold) {
  if (video_written) {
    video_seen_ = true;
  } else {
    audio_seen_ = true;
  }
  const bool other_seen = video_written ? audio_seen_ : video_seen_;
  if (other_seen && written.queue().size() >= threshold) {
    FlushQueues();
  }
}

int32_t MKVMuxer::WriteVideoSample(const MediaSample& sample) {
  if (video_track_ == nullptr) {
    return 0;
  }
  uint8_t* data = sample.videoData;
  const int32_t size = sample.videoSize;
  if (first_video_sample_) {
    first_video_sample_ = false;
    if (start_code_check_ && ContainsStartCode(data, size)) {
      annex_b_input_ = true;
    }
  }
  const int64_t end = FrameEnd(sample.start, sample.duration);
  int32_t result = 0;
  if (IsNalUnitFourCC(video_params_.fourcc)) {
    result = AddNalUnitSlices(*video_track_, data, size, sample.start, end);
  } else if (annex_b_input_) {
    result = AddAnnexBAsLengthPrefixed(*video_track_, data, size, sample.start, end,
                                       sample.keyframe, conversion_buffer_);
  } else {
    result = video_track_->AddFrame(data, size, sample.start, end, sample.keyframe);
  }
  if (result > 0) {
    FlushIfDue(true, *video_track_, kMatroskaFlushThreshold);
  }
  pacing_.Step();
  return result;
}

int32_t MKVMuxer::WriteAudioSample(const MediaSample& sample, const FrameSizeTable* frames) {
  audio_duration_sum_ += sample.duration;
  if (audio_track_ == nullptr) {
    return 0;
  }
  const int32_t total = AddAudioFrames(*audio_track_, sample, frames, 1);
  if (total >= 1) {
    FlushIfDue(false, *audio_track_, kMatroskaFlushThreshold);
  }
  return total;
}

void MKVMuxer::SetAudioExtraData(const uint8_t* data, int32_t size) {
  if (audio_track_ == nullptr || data == nullptr || size < 1) {
    return;
  }
  const std::string codec_id = audio_track_->entry().codec_id.Text();
  if (codec_id != "A_AAC" && codec_id != "A_VORBIS" && codec_id != "A_OPUS") {
    return;
  }
  StoreCodecPrivate(*audio_track_, data, static_cast<size_t>(size));
}

void MKVMuxer::SetVideoExtraData(const uint8_t* second, int32_t second_size, const uint8_t* first,
                                 int32_t first_size) {
  if (video_track_ == nullptr) {
    return;
  }
  StoreVideoConfiguration(*video_track_, second, second_size, first, first_size);
}

}  // namespace kx
