// Tracks, file header and codec configuration of the multi-stream muxer.
#include "src/multi/multi_mkv_muxer.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

#include "src/codec/fourcc.h"
#include "src/mkv/track_setup.h"

namespace kx {
namespace {

// Same grid as the single-stream Matroska files, WebM included.
constexpr int64_t kClusterSpanMs = 300;
// No track of a type that gets cue points: no block matches.
constexpr uint64_t kNoCueTrack = 0xFFFFFFFF;

bool OneOf(std::string_view codec_id, std::initializer_list<std::string_view> ids) {
  return std::any_of(ids.begin(), ids.end(),
                     [codec_id](std::string_view id) { return id == codec_id; });
}

}  // namespace

MultiMKVMuxer::MultiMKVMuxer(bool webm) : MatroskaFileWriter(kClusterSpanMs), webm_(webm) {}

MultiMKVMuxer::~MultiMKVMuxer() { MatroskaFileWriter::Close(); }

bool MultiMKVMuxer::Init(uint32_t /*file_fourcc*/, const char16_t* file_name,
                         uint64_t /*reserved*/) {
  tracks().clear();
  track_map_.clear();
  ResetFileState();
  max_end_time_ = 0;
  for (const MultiStreamEntry& entry : streams()) {
    const MediaFileParams& info = *entry.info;
    if (entry.type == kStreamVideo) {
      video_fourcc_ = info.video.fourcc;
      if (info.noVideo != 0) {
        video_seen_ = true;
        continue;
      }
      if (video_fourcc_ == FourCC("H264")) {
        video_intake_.EnableStartCodeCheck();
      }
    } else if (entry.type == kStreamAudio && info.noAudio != 0) {
      audio_seen_ = true;
      continue;
    }
    MakeTrack(entry);
  }
  return file_name != nullptr && OpenOutput(file_name);
}

// The host's record goes to the setup as it is: the display-aspect pair and
// its flag come from the host. External text subtitles get a track in
// Matroska files only; internal subtitles never do.
void MultiMKVMuxer::MakeTrack(const MultiStreamEntry& entry) {
  auto stream = std::make_unique<MatroskaStream>(webm_, additions_mode() != 0);
  int32_t status = -1;
  if (entry.type == kStreamVideo) {
    status = SetupVideoTrack(*stream, entry.info->video, entry.OutStreamIndex);
  } else if (entry.type == kStreamAudio) {
    status = SetupAudioTrack(*stream, entry.info->audio, entry.OutStreamIndex);
  } else if (entry.type == kStreamSubpicExternal && !webm_) {
    status = SetupSubtitleTrack(*stream, entry.info->subtitle, entry.OutStreamIndex);
  }
  if (status < 0) {
    return;
  }
  track_map_.push_back(TrackRow{stream.get(), entry.type, entry.OutStreamIndex});
  tracks().push_back(std::move(stream));
}

MatroskaStream* MultiMKVMuxer::FindTrack(uint32_t index) const {
  for (const TrackRow& row : track_map_) {
    if (row.out_index == index) {
      return row.stream;
    }
  }
  return nullptr;
}

void MultiMKVMuxer::FillEbmlHeader(MatroskaWriter::EBML& header) const {
  header.doc_type.Set(webm_ ? "webm" : "matroska");
  header.doc_type_version.Set(2);
  header.doc_type_read_version.Set(2);
}

// Video key frames get the cue points; without video, audio blocks (all
// key frames), then subtitles.
uint64_t MultiMKVMuxer::ChooseCueTrack() const {
  for (const uint32_t type :
       {kStreamVideo, kStreamAudio, kStreamSubpicExternal, kStreamSubpicInternal}) {
    for (const TrackRow& row : track_map_) {
      if (row.type == type) {
        return static_cast<uint64_t>(row.out_index) + 1;
      }
    }
  }
  return kNoCueTrack;
}

void MultiMKVMuxer::SetAudioExtraData(uint32_t index, const uint8_t* data, int32_t size) {
  MatroskaStream* track = FindTrack(index);
  if (track != nullptr && data != nullptr && size >= 1 &&
      OneOf(track->entry().codec_id.Text(), {"A_AAC", "A_VORBIS"})) {
    StoreCodecPrivate(*track, data, static_cast<size_t>(size));
  }
}

void MultiMKVMuxer::SetExternalSubtitleExtraData(uint32_t index, const uint8_t* data,
                                                 int32_t size) {
  MatroskaStream* track = FindTrack(index);
  if (track != nullptr && data != nullptr && size >= 1 &&
      OneOf(track->entry().codec_id.Text(), {"S_TEXT/ASS", "S_TEXT/SSA"})) {
    StoreCodecPrivate(*track, data, static_cast<size_t>(size));
  }
}

void MultiMKVMuxer::SetVideoExtraData(uint32_t index, const uint8_t* second, int32_t second_size,
                                      const uint8_t* first, int32_t first_size) {
  if (MatroskaStream* track = FindTrack(index)) {
    StoreVideoConfiguration(*track, second, second_size, first, first_size);
  }
}

}  // namespace kx
