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
  std::string type;  // "video", "audio", or the TrackType number
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

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_SUMMARY_H_
