// What a written Matroska/WebM file contains, read back from the file itself
// (not from what kxmux believes it handed over), for the final summary.
#ifndef KX_TOOLS_KXMUX_SUMMARY_H_
#define KX_TOOLS_KXMUX_SUMMARY_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kxmux {

struct TrackSummary {
  uint64_t number = 0;
  uint64_t track_type = 0;  // TrackType: 1 video, 2 audio, 17 subtitle, ...
  std::string type;         // "video", "audio", "subtitle", or "type N"
  std::string codec_id;
  uint64_t width = 0;             // video
  uint64_t height = 0;            // video
  double sampling_frequency = 0;  // audio
  uint64_t channels = 0;          // audio
};

struct FileSummary {
  std::string doc_type;
  std::vector<TrackSummary> tracks;
  double duration_seconds = 0;
  uint64_t size = 0;
  uint64_t clusters = 0;
  uint64_t cue_points = 0;
};

// Parses the file's structure. Returns nullopt with *error set when the file
// cannot be read or is not well-formed EBML.
std::optional<FileSummary> ReadFileSummary(const std::string& path, std::string* error);

// The summary as printed by kxmux, one item per line, indented by two blanks.
std::string FormatSummary(const FileSummary& summary);

// Where the file came from, for the JSON form.
struct SummarySource {
  std::string file;         // the file written
  std::string module_path;  // the module that wrote it
  std::string row;          // its catalogue row, without trailing blanks ("MKV")
};

// The summary as one JSON object on one line (the schema is in the README).
std::string FormatSummaryJson(const FileSummary& summary, const SummarySource& source);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_SUMMARY_H_
