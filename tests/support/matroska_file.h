// Test support: a written Matroska/WebM file read back with libwebm's
// webm_parser into plain structs, so tests can check seeks, track entries,
// blocks and cues with their positions.
#ifndef KX_TESTS_SUPPORT_MATROSKA_FILE_H_
#define KX_TESTS_SUPPORT_MATROSKA_FILE_H_

#include <cstdint>
#include <string>
#include <vector>

namespace kx::test {

struct SeekEntry {
  uint64_t seek_head_position = 0;  // absolute position of its SeekHead
  uint32_t id = 0;
  uint64_t position = 0;  // relative to the Segment's data
};

struct TrackInfo {
  uint64_t number = 0;
  uint64_t uid = 0;
  uint64_t type = 0;
  std::string codec_id;
  std::vector<uint8_t> codec_private;
  uint64_t pixel_width = 0;
  uint64_t pixel_height = 0;
  uint64_t display_width = 0;
  uint64_t display_height = 0;
  uint64_t default_duration = 0;
  double sampling_frequency = 0;
  uint64_t channels = 0;
  uint64_t bit_depth = 0;
};

struct BlockInfo {
  uint64_t cluster_position = 0;  // absolute
  uint64_t cluster_timecode = 0;
  uint64_t track = 0;
  int16_t relative_time = 0;
  bool simple = false;
  bool key = false;  // SimpleBlock flag, or a BlockGroup without ReferenceBlock
  std::vector<int64_t> references;
  std::vector<std::vector<uint8_t>> frames;
  int64_t time() const { return static_cast<int64_t>(cluster_timecode) + relative_time; }
};

struct CueInfo {
  uint64_t time = 0;
  uint64_t track = 0;
};

struct MatroskaFile {
  bool parsed = false;  // the parser reached the end without error
  std::string doc_type;
  uint64_t doc_type_version = 0;
  uint64_t segment_data_position = 0;
  uint64_t segment_size = 0;
  double duration = -1;
  uint64_t timecode_scale = 0;
  std::string muxing_app;
  std::vector<SeekEntry> seeks;
  std::vector<TrackInfo> tracks;
  std::vector<uint64_t> cluster_timecodes;
  std::vector<uint64_t> cluster_positions;  // absolute
  std::vector<BlockInfo> blocks;            // file order
  std::vector<CueInfo> cues;

  std::vector<BlockInfo> BlocksOfTrack(uint64_t track) const;
  const TrackInfo* Track(uint64_t number) const;
};

MatroskaFile ReadMatroskaFile(const std::string& path);

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_MATROSKA_FILE_H_
