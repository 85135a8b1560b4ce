#include "src/webm/webm_muxer.h"

#include "src/mkv/codec_ids.h"
#include "src/webm/matroska_stream_webm.h"

namespace kx {
namespace {

constexpr int64_t kClusterSpanMs = 1000;
constexpr size_t kFlushThreshold = 1;
// Frames split from a group by a FrameSizeTable are not marked as key frames,
// so they get no cue points of their own.
constexpr int32_t kTableFrameKey = 0;

}  // namespace

WebmMuxer1::WebmMuxer1() : SingleStreamMuxer({kClusterSpanMs, kFlushThreshold, kTableFrameKey}) {}

WebmMuxer1::~WebmMuxer1() { Close(); }

void WebmMuxer1::FillEbmlHeader(MatroskaWriter::EBML& header) const {
  header.ebml_version.Set(1);
  header.ebml_read_version.Set(1);
  header.ebml_max_id_length.Set(4);
  header.ebml_max_size_length.Set(8);
  header.doc_type.Set(IsWebmVideoFourCC(video_params().fourcc) ? "webm" : "matroska");
  header.doc_type_version.Set(2);
  header.doc_type_read_version.Set(2);
}

std::unique_ptr<MatroskaStream> WebmMuxer1::MakeVideoTrack(const VideoParams& video) {
  auto stream = std::make_unique<MatroskaStreamWebm>();
  SetupWebmVideoTrack(*stream, video);
  return stream;
}

std::unique_ptr<MatroskaStream> WebmMuxer1::MakeAudioTrack(const AudioParams& audio) {
  auto stream = std::make_unique<MatroskaStreamWebm>();
  SetupWebmAudioTrack(*stream, audio);
  return stream;
}

int32_t WebmMuxer1::WriteVideoSample(const MediaSample& sample) {
  return QueueVideoSample(video_intake_, sample);
}

}  // namespace kx
