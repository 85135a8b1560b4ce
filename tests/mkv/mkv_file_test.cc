// Whole Matroska files written through the single-stream function table with
// synthetic samples, read back with libwebm's parser: the cluster grid,
// millisecond rounding, ReferenceBlock, Cues, track entries, Duration, the
// layout written at close, and what must not leak from one file into the next.
#include <gtest/gtest.h>
#include <webm/id.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "src/platform/clock.h"
#include "src/platform/crt_rand.h"
#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

constexpr int64_t kMs = kTicksPerMs;

class MkvFileTest : public ::testing::Test {
 protected:
  // 800 000 000 s after 2001-01-01: DateUTC needs all 8 bytes.
  void SetUp() override { platform::PinCurrentUnixTime(978307200 + 800000000); }
  void TearDown() override { platform::PinCurrentUnixTime(std::nullopt); }

  MatroskaFile Make(const MediaFileParams& params, const std::function<void(TableFile&)>& feed) {
    const std::string container(reinterpret_cast<const char*>(&params.containerFourcc), 4);
    TableFile file(Row(container.c_str()), dir_.WidePath(u"out.mkv"), params);
    EXPECT_TRUE(file.ok());
    feed(file);
    file.Close();
    return ReadMatroskaFile(path_);
  }

  TempDir dir_;
  std::string path_ = dir_.Path("out.mkv");
};

MediaFileParams Vp9Ac3() { return FileParams("MKV ", "VP9 ", 320, 240, 25, "AC3 ", 48000, 2); }
MediaFileParams Vp9Only() { return FileParams("MKV ", "VP9 ", 320, 240, 25, nullptr, 0, 0); }

// Video frames (start in 100-ns units, key) and the block each becomes:
// Cluster Timecode, relative timecode, ReferenceBlock (kNone: none).
constexpr int64_t kNone = std::numeric_limits<int64_t>::min();
struct GridCase {
  const char* name;
  std::vector<std::array<int64_t, 5>> frames;  // start, key, cluster, relative, reference
};

class ClusterGridTest : public MkvFileTest, public ::testing::WithParamInterface<GridCase> {};

TEST_P(ClusterGridTest, BlocksLandOnTheGrid) {
  const GridCase& c = GetParam();
  const MatroskaFile file = Make(Vp9Only(), [&](TableFile& f) {
    for (const auto& frame : c.frames) f.Video(Bytes(8, 1), frame[0], 400000, frame[1] != 0);
  });
  ASSERT_TRUE(file.parsed);
  std::vector<uint64_t> clusters;
  const auto blocks = file.BlocksOfTrack(2);
  ASSERT_EQ(blocks.size(), c.frames.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    const auto& e = c.frames[i];
    if (clusters.empty() || clusters.back() != uint64_t(e[2])) clusters.push_back(e[2]);
    EXPECT_EQ(static_cast<int64_t>(blocks[i].cluster_timecode), e[2]) << i;
    EXPECT_EQ(blocks[i].relative_time, e[3]) << i;
    EXPECT_EQ(blocks[i].references, e[4] == kNone ? std::vector<int64_t>{} : std::vector{e[4]})
        << i;
  }
  EXPECT_EQ(file.cluster_timecodes, clusters);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, ClusterGridTest, ::testing::Values(
    GridCase{"On300Next301", {{0, 1, 0, 0, kNone}, {300 * kMs, 0, 0, 300, -300},
                              {301 * kMs, 0, 300, 1, -1}}},
    GridCase{"At600And601AfterAGap", {{0, 1, 0, 0, kNone}, {10 * kMs, 0, 0, 10, -10},
                                      {600 * kMs, 1, 300, 300, kNone}, {601 * kMs, 0, 600, 1, -1}}},
    GridCase{"TenSecondJumpWritesNoEmptyClusters", {{0, 1, 0, 0, kNone},
                                                    {10000 * kMs, 1, 9900, 100, kNone}}},
    GridCase{"TimesCountFromTheFirstBlock", {{1000 * kMs, 1, 0, 0, kNone},
                                             {1300 * kMs, 0, 0, 300, -300},
                                             {1301 * kMs, 0, 300, 1, -1}}},
    // Starts round half up; ReferenceBlock offsets round half away from zero
    // and refer only to a predecessor at or after the first block.
    GridCase{"MillisecondsRound", {{0, 1, 0, 0, kNone}, {14999, 0, 0, 1, -1}, {15000, 0, 0, 2, 0},
                                   {-15000, 0, 0, -1, 3}, {20000, 0, 0, 2, kNone},
                                   {25000, 0, 0, 3, -1}, {20000, 0, 0, 2, 1}}},
    GridCase{"KeyFrameAtTheSameStartRefersToIt", {{0, 1, 0, 0, kNone}, {40 * kMs, 1, 0, 40, kNone},
                                                  {40 * kMs, 1, 0, 40, 0}}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

// Every TrackEntry child a reader depends on, for the parameters a host sends.
struct TrackCase {
  const char* name;
  MediaFileParams params;
  int aspect_numerator, aspect_denominator;  // SetDisplayAspectRatio, 0: not called
  const char* video_codec;
  uint64_t default_duration, pixel_height, display_width, display_height;
  Bytes video_private;
  const char* audio_codec;
  Bytes audio_private;
};

MediaFileParams Fallback() {
  MediaFileParams params = FileParams("MKV ", "abcd", 640, -480, 50, "KAAC", 22050, 2);
  params.video.bitCount = 24;
  return params;
}

class TrackEntryTest : public MkvFileTest, public ::testing::WithParamInterface<TrackCase> {};

TEST_P(TrackEntryTest, ChildrenReadersDependOn) {
  const TrackCase& c = GetParam();
  const AspectRatioRecord aspect{{}, c.aspect_numerator, c.aspect_denominator, {}};
  Row("MKV ").SetDisplayAspectRatio(&aspect);
  const MatroskaFile file = Make(c.params, [](TableFile& f) {
    f.Video(Bytes(8, 1), 0, 400000, true);
    f.Audio(Bytes(8, 2), 0, 320000);
  });
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 2U);
  const auto& [v, a] = std::tie(file.tracks[0], file.tracks[1]);
  EXPECT_EQ(std::tie(v.number, v.type, v.codec_id, v.default_duration),
            std::make_tuple(2U, 1U, std::string(c.video_codec), c.default_duration));
  EXPECT_EQ(std::tie(v.pixel_width, v.pixel_height, v.display_width, v.display_height),
            std::make_tuple(uint64_t(c.params.video.width), c.pixel_height, c.display_width,
                            c.display_height));
  EXPECT_EQ(v.codec_private, c.video_private);
  EXPECT_EQ(std::tie(a.number, a.type, a.codec_id, a.sampling_frequency, a.channels, a.bit_depth),
            std::make_tuple(3U, 2U, std::string(c.audio_codec), double(c.params.audio.sampleRate),
                            uint64_t(c.params.audio.channels), 16U));
  EXPECT_EQ(a.codec_private, c.audio_private);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, TrackEntryTest, ::testing::Values(
    TrackCase{"Vp9At25", Vp9Ac3(), 0, 0, "V_VP9", 40000000, 240, 4, 3, {}, "A_AC3", {}},
    TrackCase{"XvidAt2997WithAspect", FileParams("MKV ", "Xvid", 1920, 1080, 29.97, "MP3 ", 44100, 1),
              8, 6, "V_MPEG4/ISO/ASP", 33366700, 1080, 4, 3, {}, "A_MPEG/L3", {}},
    TrackCase{"FallbackRecords", Fallback(), 0, 0, "V_MS/VFW/FOURCC", 20000000, 480, 4, 3,
              {40, 0, 0, 0, 0x80, 2, 0, 0, 0x20, 0xFE, 0xFF, 0xFF, 1, 0, 24, 0, 'a', 'b', 'c', 'd',
               0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0},
              "A_MS/VFW/FOURCC", {'K', 'A', 2, 0, 0x22, 0x56, 0, 0, 0x88, 0x58, 1, 0, 0, 0, 16, 0, 18, 0}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

// Duration at close: the audio sum when it is within a second of the last
// block, else the last block's start + 1; a short video-only file keeps 0.
TEST_F(MkvFileTest, DurationAtClose) {
  const struct {
    MediaFileParams params;
    int frames, audio_frames;
    double duration;
  } cases[] = {{Vp9Ac3(), 250, 100, 10000.0}, {Vp9Only(), 250, 0, 9961.0}, {Vp9Only(), 20, 0, 0}};
  for (const auto& c : cases) {
    const MatroskaFile file = Make(c.params, [&](TableFile& f) {
      for (int i = 0; i < c.frames; ++i) f.Video(Bytes(4, 1), kMs * 40 * i, 40 * kMs, i % 25 == 0);
      for (int i = 0; i < c.audio_frames; ++i) f.Audio(Bytes(4, 2), kMs * 100 * i, 100 * kMs);
    });
    ASSERT_TRUE(file.parsed);
    EXPECT_DOUBLE_EQ(file.duration, c.duration) << c.frames << " " << c.audio_frames;
  }
}

// The layout finished at close: Info right after the reserved 4099 bytes,
// the main SeekHead's entries, a Seek for every Cluster, the Segment size,
// DateUTC.
TEST_F(MkvFileTest, LayoutWrittenAtClose) {
  const MatroskaFile file = Make(Vp9Ac3(), [](TableFile& f) {
    for (int i = 0; i < 50; ++i) {
      f.Video(Bytes(10, 1), kMs * 40 * i, 40 * kMs, i % 10 == 0);
      f.Audio(Bytes(6, 2), kMs * 40 * i, 40 * kMs);
    }
  });
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(std::tie(file.doc_type, file.doc_type_version, file.muxing_app, file.timecode_scale),
            std::make_tuple("webm", 1U, "Tarnwhistle Matroska Muxer", 1000000U));  // VP9: webm
  EXPECT_EQ(file.segment_size, std::filesystem::file_size(path_) - file.segment_data_position);
  using webm::Id;
  const uint64_t data = file.segment_data_position;
  std::vector<Id> main_ids;
  std::vector<uint64_t> cluster_seeks;
  for (const SeekEntry& seek : file.seeks) {
    if (seek.seek_head_position == data) main_ids.push_back(Id(seek.id));
    if (Id(seek.id) == Id::kInfo) {
      EXPECT_EQ(seek.position, 4099U);  // the reserved area ends at Info
    }
    if (Id(seek.id) == Id::kCluster) cluster_seeks.push_back(seek.position + data);
  }
  EXPECT_EQ(main_ids, (std::vector<Id>{Id::kInfo, Id::kTracks, Id::kCues, Id::kSeekHead}));
  EXPECT_EQ(cluster_seeks, file.cluster_positions);
  const std::string date_utc("\x44\x61\x88\x0B\x1A\x2B\xC2\xEC\x50\x00\x00", 11);
  EXPECT_NE(ReadFileBytes(path_).find(date_utc), std::string::npos);
}

// No samples: an empty file. No video: the audio track keeps number 3, and
// a frame-size table spreads its frames over the sample's duration.
TEST_F(MkvFileTest, EmptyFileAndAudioFrameTables) {
  Make(Vp9Ac3(), [](TableFile&) {});
  EXPECT_EQ(std::filesystem::file_size(path_), 0U);
  const MatroskaFile file =
      Make(FileParams("MKV ", nullptr, 0, 0, 0, "AC3 ", 48000, 2), [](TableFile& f) {
        EXPECT_EQ(f.Audio({1, 2, 2, 3, 3, 3}, 1000 * kMs, 100 * kMs, {1, 2, 3}), 6);
        EXPECT_EQ(f.Audio({4}, 1100 * kMs, 100 * kMs, {}), 1);
      });
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 1U);
  EXPECT_EQ(file.tracks[0].number, 3U);
  EXPECT_TRUE(file.cues.empty());  // audio blocks get no cue points
  std::vector<std::pair<int64_t, Bytes>> blocks;
  for (const BlockInfo& b : file.BlocksOfTrack(3)) blocks.emplace_back(b.time(), b.frames.at(0));
  EXPECT_EQ(blocks, (std::vector<std::pair<int64_t, Bytes>>{
                        {0, {1}}, {33, {2, 2}}, {67, {3, 3, 3}}, {100, {4}}}));
}

// Files in a row through the table: a WebM file first (the WebM muxer, its
// own track numbers), then the display aspect set for one Matroska file
// does not reach the next, and the track UIDs continue the runtime's
// random sequence.
TEST_F(MkvFileTest, NothingLeaksIntoTheNextFile) {
  platform::ResetCrtRand();
  const MatroskaFile webm = Make(FileParams("WEBM", "VP9 ", 320, 240, 25, nullptr, 0, 0),
                                 [](TableFile& f) { f.Video(Bytes(8, 1), 0, 400000, true); });
  const AspectRatioRecord aspect{{}, 16, 9, {}};
  Row("MKV ").SetDisplayAspectRatio(&aspect);
  const auto feed = [](TableFile& f) {
    f.Video(Bytes(8, 1), 0, 400000, true);
    f.Audio(Bytes(8, 2), 0, 320000);
  };
  const MatroskaFile first = Make(Vp9Ac3(), feed);
  const MatroskaFile second = Make(Vp9Ac3(), feed);
  ASSERT_TRUE(webm.parsed && first.parsed && second.parsed);
  const auto& [v1, a1, v2, a2] =
      std::tie(first.tracks[0], first.tracks[1], second.tracks[0], second.tracks[1]);
  EXPECT_EQ(std::make_tuple(webm.tracks[0].number, v1.number, v2.number),
            std::make_tuple(1U, 2U, 2U));
  EXPECT_EQ(std::make_tuple(v1.display_width, v2.display_width), std::make_tuple(16U, 4U));
  EXPECT_EQ(std::make_tuple(webm.tracks[0].uid, v1.uid, a1.uid, v2.uid, a2.uid),
            std::make_tuple(41U, 18467U, 6334U, 26500U, 19169U));
}

}  // namespace
}  // namespace kx::test
