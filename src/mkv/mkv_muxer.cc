#include "src/mkv/mkv_muxer.h"

#include "host/yr_utility.h"
#include "src/codec/fourcc.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/track_setup.h"

namespace kx {
namespace {

constexpr int64_t kClusterSpanMs = 300;
constexpr uint32_t kVideoIndex = 1;  // TrackNumber 2
constexpr uint32_t kAudioIndex = 2;  // TrackNumber 3

}  // namespace

MKVMuxer::MKVMuxer(DisplayAspect aspect)
    : SingleStreamMuxer({kClusterSpanMs, kMatroskaFlushThreshold, 1}),
      aspect_(aspect),
      pacing_(cpu_num_processors()) {}

MKVMuxer::~MKVMuxer() { Close(); }

int32_t MKVMuxer::Init(const char16_t* path, const MediaFileParams& params) {
  const uint32_t fourcc = params.video.fourcc;
  if (fourcc == FourCC("H264") || fourcc == FourCC("B264")) {
    video_intake_.EnableStartCodeCheck();
  }
  if (SingleStreamMuxer::Init(path, params) == 0) {
    return 0;
  }
  pacing_.Configure(params);
  return 1;
}

std::unique_ptr<MatroskaStream> MKVMuxer::MakeVideoTrack(const VideoParams& video) {
  // The display aspect the host announced replaces the one in its record.
  VideoParams adjusted = video;
  adjusted.aspectNumerator = aspect_.numerator;
  adjusted.aspectDenominator = aspect_.denominator;
  adjusted.flags = 1;
  auto stream = std::make_unique<MatroskaStream>();
  SetupVideoTrack(*stream, adjusted, kVideoIndex);
  return stream;
}

std::unique_ptr<MatroskaStream> MKVMuxer::MakeAudioTrack(const AudioParams& audio) {
  auto stream = std::make_unique<MatroskaStream>();
  SetupAudioTrack(*stream, audio, kAudioIndex);
  return stream;
}

void MKVMuxer::FillEbmlHeader(MatroskaWriter::EBML& header) const {
  header.doc_type.Set(IsWebmVideoFourCC(video_params().fourcc) ? "webm" : "matroska");
  header.doc_type_version.Set(1);
  header.doc_type_read_version.Set(1);
}

int32_t MKVMuxer::WriteVideoSample(const MediaSample& sample) {
  if (video_track() == nullptr) {
    return 0;  // and no pacing
  }
  const int32_t result = QueueVideoSample(video_intake_, sample);
  pacing_.Step();
  return result;
}

}  // namespace kx
