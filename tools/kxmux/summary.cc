#include "tools/kxmux/summary.h"

#include <sys/stat.h>
#include <webm/callback.h>
#include <webm/file_reader.h>
#include <webm/webm_parser.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <memory>
#include <sstream>

namespace kxmux {
namespace {

// Text elements may be stored with a terminating zero byte (the module
// writes CodecID that way); it is not part of the text.
std::string WithoutTrailingNuls(std::string text) {
  while (!text.empty() && text.back() == '\0') {
    text.pop_back();
  }
  return text;
}

class SummaryCallback : public webm::Callback {
 public:
  explicit SummaryCallback(FileSummary* summary) : summary_(summary) {}

  webm::Status OnEbml(const webm::ElementMetadata& /*metadata*/, const webm::Ebml& ebml) override {
    summary_->doc_type = WithoutTrailingNuls(ebml.doc_type.value());
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnInfo(const webm::ElementMetadata& /*metadata*/, const webm::Info& info) override {
    if (info.duration.is_present()) {
      summary_->duration_seconds =
          info.duration.value() * static_cast<double>(info.timecode_scale.value()) / 1e9;
    }
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnTrackEntry(const webm::ElementMetadata& /*metadata*/,
                            const webm::TrackEntry& entry) override {
    TrackSummary track;
    track.number = entry.track_number.value();
    track.track_type = static_cast<uint64_t>(entry.track_type.value());
    switch (entry.track_type.value()) {
      case webm::TrackType::kVideo:
        track.type = "video";
        break;
      case webm::TrackType::kAudio:
        track.type = "audio";
        break;
      case webm::TrackType::kSubtitle:
        track.type = "subtitle";
        break;
      default:
        track.type = "type " + std::to_string(track.track_type);
        break;
    }
    track.codec_id = WithoutTrailingNuls(entry.codec_id.value());
    if (entry.video.is_present()) {
      track.width = entry.video.value().pixel_width.value();
      track.height = entry.video.value().pixel_height.value();
    }
    if (entry.audio.is_present()) {
      track.sampling_frequency = entry.audio.value().sampling_frequency.value();
      track.channels = entry.audio.value().channels.value();
    }
    summary_->tracks.push_back(track);
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnClusterBegin(const webm::ElementMetadata& /*metadata*/,
                              const webm::Cluster& /*cluster*/, webm::Action* action) override {
    ++summary_->clusters;
    // Read, not skipped: the parse that vouches for the file walks every
    // block too (the frames' bytes are skipped by the default callback).
    *action = webm::Action::kRead;
    return webm::Status(webm::Status::kOkCompleted);
  }

  webm::Status OnCuePoint(const webm::ElementMetadata& /*metadata*/,
                          const webm::CuePoint& /*cue_point*/) override {
    ++summary_->cue_points;
    return webm::Status(webm::Status::kOkCompleted);
  }

 private:
  FileSummary* summary_;
};

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

std::optional<FileSummary> ReadFileSummary(const std::string& path, std::string* error) {
  FileSummary summary;
  struct stat info {};
  if (stat(path.c_str(), &info) != 0) {
    *error = "cannot read " + path;
    return std::nullopt;
  }
  summary.size = static_cast<uint64_t>(info.st_size);

  std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rb"));
  if (!file) {
    *error = "cannot open " + path;
    return std::nullopt;
  }
  // FileReader takes the FILE* over and closes it.
  webm::FileReader reader(file.release());
  SummaryCallback callback(&summary);
  webm::WebmParser parser;
  const webm::Status status = parser.Feed(&callback, &reader);
  if (!status.completed_ok()) {
    *error =
        "the written file does not parse as Matroska (status " + std::to_string(status.code) + ")";
    return std::nullopt;
  }
  return summary;
}

std::string FormatSummary(const FileSummary& summary) {
  std::ostringstream out;
  for (const TrackSummary& track : summary.tracks) {
    out << "  track " << track.number << ": " << track.type << ", " << track.codec_id;
    if (track.type == "video" && track.width > 0) {
      out << ", " << track.width << "x" << track.height;
    }
    if (track.type == "audio") {
      out << ", " << std::lround(track.sampling_frequency) << " Hz, " << track.channels
          << (track.channels == 1 ? " channel" : " channels");
    }
    out << "\n";
  }
  std::array<char, 32> duration = {};
  std::snprintf(duration.data(), duration.size(), "%.3f", summary.duration_seconds);
  out << "  duration " << duration.data() << " s, " << summary.size << " bytes, "
      << summary.clusters << (summary.clusters == 1 ? " cluster, " : " clusters, ")
      << summary.cue_points << (summary.cue_points == 1 ? " cue point" : " cue points")
      << ", DocType " << summary.doc_type << "\n";
  return out.str();
}

}  // namespace kxmux
