#include "tests/support/matroska_file.h"

#include <webm/callback.h>
#include <webm/file_reader.h>
#include <webm/webm_parser.h>

#include <algorithm>
#include <cstdio>

namespace kx::test {
namespace {

using webm::ElementMetadata;
using webm::Status;
const Status kDone(Status::kOkCompleted);

class Collector : public webm::Callback {
 public:
  explicit Collector(MatroskaFile& file) : file_(file) {}

  Status OnElementBegin(const ElementMetadata& m, webm::Action* action) override {
    if (m.id == webm::Id::kSeekHead) seek_head_position_ = m.position;
    if (m.id == webm::Id::kSegment) {
      file_.segment_data_position = m.position + m.header_size;
      file_.segment_size = m.size;
    }
    *action = webm::Action::kRead;
    return kDone;
  }

  Status OnEbml(const ElementMetadata& /*metadata*/, const webm::Ebml& ebml) override {
    file_.doc_type = ebml.doc_type.value();
    file_.doc_type_version = ebml.doc_type_version.value();
    return kDone;
  }

  Status OnSeek(const ElementMetadata& /*metadata*/, const webm::Seek& seek) override {
    file_.seeks.push_back(
        {seek_head_position_, static_cast<uint32_t>(seek.id.value()), seek.position.value()});
    return kDone;
  }

  Status OnInfo(const ElementMetadata& /*metadata*/, const webm::Info& info) override {
    file_.duration = info.duration.is_present() ? info.duration.value() : -1;
    file_.timecode_scale = info.timecode_scale.value();
    file_.muxing_app = info.muxing_app.value();
    return kDone;
  }

  Status OnTrackEntry(const ElementMetadata& /*metadata*/, const webm::TrackEntry& entry) override {
    TrackInfo& track = file_.tracks.emplace_back();
    track.number = entry.track_number.value();
    track.uid = entry.track_uid.value();
    track.type = static_cast<uint64_t>(entry.track_type.value());
    track.codec_id = entry.codec_id.value();
    track.codec_private = entry.codec_private.value();
    track.default_duration = entry.default_duration.value();
    const webm::Video& video = entry.video.value();
    track.pixel_width = video.pixel_width.value();
    track.pixel_height = video.pixel_height.value();
    track.display_width = video.display_width.value();
    track.display_height = video.display_height.value();
    const webm::Audio& audio = entry.audio.value();
    track.sampling_frequency = audio.sampling_frequency.value();
    track.channels = audio.channels.value();
    track.bit_depth = audio.bit_depth.value();
    return kDone;
  }

  Status OnClusterBegin(const ElementMetadata& m, const webm::Cluster& cluster,
                        webm::Action* action) override {
    file_.cluster_timecodes.push_back(cluster.timecode.value());
    file_.cluster_positions.push_back(m.position);
    *action = webm::Action::kRead;
    return kDone;
  }

  Status OnSimpleBlockBegin(const ElementMetadata& /*metadata*/, const webm::SimpleBlock& block,
                            webm::Action* action) override {
    BlockInfo& info = BeginBlock(block, action);
    info.simple = true;
    info.key = block.is_key_frame;
    return kDone;
  }

  Status OnBlockBegin(const ElementMetadata& /*metadata*/, const webm::Block& block,
                      webm::Action* action) override {
    BeginBlock(block, action);
    return kDone;
  }

  Status OnBlockGroupEnd(const ElementMetadata& /*metadata*/,
                         const webm::BlockGroup& group) override {
    BlockInfo& info = file_.blocks.back();
    for (const auto& reference : group.references) info.references.push_back(reference.value());
    info.key = info.references.empty();
    return kDone;
  }

  Status OnFrame(const webm::FrameMetadata& metadata, webm::Reader* reader,
                 std::uint64_t* bytes_remaining) override {
    std::vector<uint8_t> frame(metadata.size);
    while (*bytes_remaining > 0) {
      uint64_t read = 0;
      const Status status = reader->Read(static_cast<size_t>(*bytes_remaining),
                                         frame.data() + frame.size() - *bytes_remaining, &read);
      *bytes_remaining -= read;
      if (!status.ok() || (status.code == Status::kOkPartial && read == 0)) return status;
    }
    file_.blocks.back().frames.push_back(std::move(frame));
    return kDone;
  }

  Status OnCuePoint(const ElementMetadata& /*metadata*/, const webm::CuePoint& point) override {
    for (const auto& position : point.cue_track_positions)
      file_.cues.push_back({point.time.value(), position.value().track.value()});
    return kDone;
  }

 private:
  BlockInfo& BeginBlock(const webm::Block& block, webm::Action* action) {
    BlockInfo& info = file_.blocks.emplace_back();
    info.cluster_position = file_.cluster_positions.back();
    info.cluster_timecode = file_.cluster_timecodes.back();
    info.track = block.track_number;
    info.relative_time = block.timecode;
    *action = webm::Action::kRead;
    return info;
  }

  MatroskaFile& file_;
  uint64_t seek_head_position_ = 0;
};

}  // namespace

std::vector<BlockInfo> MatroskaFile::BlocksOfTrack(uint64_t track) const {
  std::vector<BlockInfo> result;
  for (const BlockInfo& block : blocks)
    if (block.track == track) result.push_back(block);
  return result;
}

const TrackInfo* MatroskaFile::Track(uint64_t number) const {
  const auto it = std::find_if(tracks.begin(), tracks.end(),
                               [&](const TrackInfo& t) { return t.number == number; });
  return it == tracks.end() ? nullptr : &*it;
}

MatroskaFile ReadMatroskaFile(const std::string& path) {
  MatroskaFile file;
  std::FILE* handle = std::fopen(path.c_str(), "rb");
  if (handle == nullptr) return file;
  webm::FileReader reader(handle);  // takes ownership of the handle
  Collector collector(file);
  webm::WebmParser parser;
  file.parsed = parser.Feed(&collector, &reader).completed_ok();
  return file;
}

}  // namespace kx::test
