#include "tests/support/matroska_file.h"

#include <webm/callback.h>
#include <webm/file_reader.h>
#include <webm/webm_parser.h>

#include <cstdio>

namespace kx::test {
namespace {

class Collector : public webm::Callback {
 public:
  explicit Collector(MatroskaFile& file) : file_(file) {}

  webm::Status OnElementBegin(const webm::ElementMetadata& metadata,
                              webm::Action* action) override {
    file_.elements.push_back({static_cast<uint32_t>(metadata.id), metadata.position,
                              metadata.header_size, metadata.size});
    if (metadata.id == webm::Id::kBlockGroup) group_position_ = metadata.position;
    if (in_segment_ && metadata.position >= file_.segment_data_position &&
        metadata.position < segment_end_ && IsTopLevel(metadata.id)) {
      file_.top_level.push_back({static_cast<uint32_t>(metadata.id), metadata.position,
                                 metadata.header_size, metadata.size});
      if (metadata.id == webm::Id::kSeekHead) seek_head_position_ = metadata.position;
    }
    *action = webm::Action::kRead;
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnEbml(const webm::ElementMetadata&, const webm::Ebml& ebml) override {
    file_.doc_type = ebml.doc_type.value();
    file_.doc_type_version = ebml.doc_type_version.value();
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnSegmentBegin(const webm::ElementMetadata& metadata,
                              webm::Action* action) override {
    in_segment_ = true;
    file_.segment_position = metadata.position;
    file_.segment_data_position = metadata.position + metadata.header_size;
    file_.segment_size = metadata.size;
    segment_end_ = file_.segment_data_position + metadata.size;
    *action = webm::Action::kRead;
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnSeek(const webm::ElementMetadata&, const webm::Seek& seek) override {
    file_.seeks.push_back(
        {seek_head_position_, static_cast<uint32_t>(seek.id.value()), seek.position.value()});
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnInfo(const webm::ElementMetadata&, const webm::Info& info) override {
    file_.duration = info.duration.is_present() ? info.duration.value() : -1;
    file_.timecode_scale = info.timecode_scale.value();
    file_.muxing_app = info.muxing_app.value();
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnTrackEntry(const webm::ElementMetadata&, const webm::TrackEntry& entry) override {
    TrackInfo track;
    track.number = entry.track_number.value();
    track.uid = entry.track_uid.value();
    track.type = static_cast<uint64_t>(entry.track_type.value());
    track.codec_id = entry.codec_id.value();
    track.codec_private = entry.codec_private.value();
    track.default_duration = entry.default_duration.value();
    if (entry.audio.is_present()) {
      const webm::Audio& audio = entry.audio.value();
      track.sampling_frequency = audio.sampling_frequency.value();
      track.channels = audio.channels.value();
      track.bit_depth = audio.bit_depth.value();
    }
    if (entry.video.is_present()) {
      const webm::Video& video = entry.video.value();
      track.pixel_width = video.pixel_width.value();
      track.pixel_height = video.pixel_height.value();
      track.display_width = video.display_width.value();
      track.display_height = video.display_height.value();
    }
    file_.tracks.push_back(std::move(track));
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnClusterBegin(const webm::ElementMetadata& metadata, const webm::Cluster& cluster,
                              webm::Action* action) override {
    cluster_timecode_ = cluster.timecode.value();
    cluster_position_ = metadata.position;
    blocks_in_cluster_ = 0;
    file_.cluster_timecodes.push_back(cluster_timecode_);
    file_.cluster_positions.push_back(metadata.position);
    *action = webm::Action::kRead;
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnSimpleBlockBegin(const webm::ElementMetadata& metadata,
                                  const webm::SimpleBlock& block, webm::Action* action) override {
    BlockInfo& info = BeginBlock(metadata.position, block, action);
    info.simple = true;
    info.key = block.is_key_frame;
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnBlockBegin(const webm::ElementMetadata&, const webm::Block& block,
                            webm::Action* action) override {
    BeginBlock(group_position_, block, action);
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnBlockGroupEnd(const webm::ElementMetadata&,
                               const webm::BlockGroup& group) override {
    BlockInfo& info = file_.blocks.back();
    for (const auto& reference : group.references) info.references.push_back(reference.value());
    info.key = info.references.empty();
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnFrame(const webm::FrameMetadata& metadata, webm::Reader* reader,
                       std::uint64_t* bytes_remaining) override {
    std::vector<uint8_t> frame(metadata.size);
    uint64_t done = 0;
    while (*bytes_remaining > 0) {
      uint64_t read = 0;
      const webm::Status status =
          reader->Read(static_cast<size_t>(*bytes_remaining), frame.data() + done, &read);
      done += read;
      *bytes_remaining -= read;
      if (!status.ok()) return status;
      if (status.code == webm::Status::kOkPartial && read == 0) return status;
    }
    file_.blocks.back().frames.push_back(std::move(frame));
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnCuePoint(const webm::ElementMetadata&, const webm::CuePoint& point) override {
    for (const auto& position : point.cue_track_positions) {
      const webm::CueTrackPositions& p = position.value();
      file_.cues.push_back({point.time.value(), p.track.value(), p.cluster_position.value(),
                            p.block_number.is_present(), p.block_number.value()});
    }
    return webm::Status(webm::Status::kOkCompleted);
  }

 private:
  // Records a block of the current Cluster; its frames follow.
  BlockInfo& BeginBlock(uint64_t position, const webm::Block& block, webm::Action* action) {
    BlockInfo info;
    info.position = position;
    info.cluster_position = cluster_position_;
    info.number = ++blocks_in_cluster_;
    info.cluster_timecode = cluster_timecode_;
    info.track = block.track_number;
    info.relative_time = block.timecode;
    file_.blocks.push_back(std::move(info));
    *action = webm::Action::kRead;
    return file_.blocks.back();
  }

  static bool IsTopLevel(webm::Id id) {
    switch (id) {
      case webm::Id::kSeekHead:
      case webm::Id::kVoid:
      case webm::Id::kInfo:
      case webm::Id::kTracks:
      case webm::Id::kCluster:
      case webm::Id::kCues:
        return true;
      default:
        return false;
    }
  }

  MatroskaFile& file_;
  bool in_segment_ = false;
  uint64_t segment_end_ = 0;
  uint64_t seek_head_position_ = 0;
  uint64_t cluster_timecode_ = 0;
  uint64_t cluster_position_ = 0;
  uint64_t blocks_in_cluster_ = 0;
  uint64_t group_position_ = 0;
};

}  // namespace

std::vector<BlockInfo> MatroskaFile::BlocksOfTrack(uint64_t track) const {
  std::vector<BlockInfo> result;
  for (const BlockInfo& block : blocks) {
    if (block.track == track) result.push_back(block);
  }
  return result;
}

const TrackInfo* MatroskaFile::Track(uint64_t number) const {
  for (const TrackInfo& track : tracks) {
    if (track.number == number) return &track;
  }
  return nullptr;
}

const Element* MatroskaFile::ElementAt(uint64_t position) const {
  for (const Element& element : elements) {
    if (element.position == position) return &element;
  }
  return nullptr;
}

MatroskaFile ReadMatroskaFile(const std::string& path) {
  MatroskaFile file;
  std::FILE* handle = std::fopen(path.c_str(), "rb");
  if (handle == nullptr) return file;
  webm::FileReader reader(handle);  // takes ownership of the handle
  Collector collector(file);
  webm::WebmParser parser;
  const webm::Status status = parser.Feed(&collector, &reader);
  file.parsed = status.completed_ok();
  return file;
}

}  // namespace kx::test
