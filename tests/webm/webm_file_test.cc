// Whole files written through the "WEBM" row with synthetic samples, read
// back with libwebm's parser: what sets them apart from the Matroska rows.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "src/plugin/single_stream_entry.h"
#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

constexpr int64_t kMs = kTicksPerMs;

class WebmFileTest : public ::testing::Test {
 protected:
  void TearDown() override { SetDisplayAspectRatio(nullptr); }

  // 640 x -480 (bottom-up) at 25 frames per second; 48 kHz stereo.
  MatroskaFile Make(const char* video, const char* audio,
                    const std::function<void(TableFile&)>& feed) {
    TableFile file(Row("WEBM"), dir_.WidePath(u"out.webm"),
                   FileParams("WEBM", video, 640, -480, 25, audio, 48000, 2));
    EXPECT_TRUE(file.ok());
    feed(file);
    file.Close();
    return ReadMatroskaFile(path_);
  }
  static void OneEach(TableFile& f) {
    f.Video(Bytes(8, 1), 0, 40 * kMs, true);
    f.Audio(Bytes(8, 2), 0, 24 * kMs);
  }

  TempDir dir_;
  std::string path_ = dir_.Path("out.webm");
};

TEST_F(WebmFileTest, EbmlHeaderHasAllSevenChildrenAndDocTypeVersion2) {
  const std::pair<const char*, std::string> cases[] = {
      {"VP9 ",
       "\x1A\x45\xDF\xA3\x9F\x42\x86\x81\x01\x42\xF7\x81\x01\x42\xF2\x81\x04\x42\xF3\x81\x08"
       "\x42\x82\x84webm\x42\x87\x81\x02\x42\x85\x81\x02"},
      {"H264",
       "\x1A\x45\xDF\xA3\xA3\x42\x86\x81\x01\x42\xF7\x81\x01\x42\xF2\x81\x04\x42\xF3\x81\x08"
       "\x42\x82\x88matroska\x42\x87\x81\x02\x42\x85\x81\x02"}};
  for (const auto& [video, header] : cases) {
    SCOPED_TRACE(video);
    ASSERT_TRUE(Make(video, "VBIS", OneEach).parsed);
    EXPECT_EQ(ReadFileBytes(path_).substr(0, header.size()), header);
  }
}

// The WebM codec table is narrower than Matroska's; the pixel size is the
// display size whatever aspect ratio the host announced. Only the NAL-unit
// FourCCs reframe: "H264" has no conversion path here.
TEST_F(WebmFileTest, TracksAreNumberedOneAndTwoWithTheWebmCodecTable) {
  const Bytes annex_b = {0, 0, 0, 1, 0x65, 0xAA, 0xBB, 0, 0, 0, 1, 0x06, 0xCC};
  const struct {
    const char* video;
    const char* audio;
    std::string codecs;  // video CodecID, blank, audio CodecID
    Bytes stored;
  } cases[] = {
      {"VP8 ", "OPUS", "V_VP8 A_OPUS", annex_b},
      {"AV1 ", "WAAC", "V_MS/VFW/FOURCC A_MS/VFW/FOURCC", annex_b},
      {"K264", "MP3 ", "V_MS/VFW/FOURCC A_MPEG/L3", annex_b},
      {"H264", "AAC ", "V_MPEG4/ISO/AVC A_AAC", annex_b},
      {"A264", "AAC ", "V_MPEG4/ISO/AVC A_AAC", {0, 0, 0, 3, 0x65, 0xAA, 0xBB}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.video);
    const AspectRatioRecord aspect{{}, 4, 3, {}};
    SetDisplayAspectRatio(&aspect);
    const MatroskaFile file = Make(c.video, c.audio, [&](TableFile& f) {
      f.Video(annex_b, 0, 40 * kMs, true);
      f.Audio(Bytes(8, 2), 0, 24 * kMs);
    });
    ASSERT_TRUE(file.parsed && file.blocks.size() == 2);  // one video block, one audio
    EXPECT_EQ(file.BlocksOfTrack(1).at(0).frames.at(0), c.stored);
    const auto [video, audio] = std::pair(file.Track(1), file.Track(2));
    ASSERT_TRUE(video != nullptr && audio != nullptr);
    EXPECT_EQ(video->codec_id + " " + audio->codec_id, c.codecs);
    EXPECT_EQ(video->default_duration, 40000000U);
    EXPECT_EQ(
        std::vector<uint64_t>({video->pixel_height, video->display_width, video->display_height}),
        std::vector<uint64_t>({480, 640, 480}));
  }
}

// Without video the audio track (number 2) is cued: whole samples are key
// frames, frames split from a group by a FrameSizeTable are not.
TEST_F(WebmFileTest, AudioOnlyFileCuesWholeSamplesButNotSplitFrames) {
  const MatroskaFile file = Make(nullptr, "VBIS", [](TableFile& f) {
    f.Audio(Bytes(12, 2), 0, 24 * kMs);
    f.Audio(Bytes(12, 2), 1100 * kMs, 24 * kMs, {4, 4, 4});
    f.Audio(Bytes(12, 2), 2200 * kMs, 24 * kMs);
  });
  ASSERT_TRUE(file.parsed);
  std::vector<bool> keys;
  for (const BlockInfo& block : file.BlocksOfTrack(2)) keys.push_back(block.key);
  EXPECT_EQ(keys, (std::vector<bool>{true, false, false, false, true}));
  std::vector<std::pair<uint64_t, uint64_t>> cues;  // time, track
  for (const CueInfo& cue : file.cues) cues.emplace_back(cue.time, cue.track);
  EXPECT_EQ(cues, (std::vector<std::pair<uint64_t, uint64_t>>{{0, 2}, {2200, 2}}));
}

// Configuration data arriving after the first flush is copied into the
// reservation and Tracks is rewritten in place; early data sets the exact
// size. Opus keeps its OpusHead, which browsers need; MP3 takes none.
TEST_F(WebmFileTest, AudioConfigurationByCodec) {
  const Bytes config = {0x11, 0x90};
  const struct {
    const char* audio;
    bool early;       // before any sample, else after the first flush
    size_t expected;  // CodecPrivate size; 0: the data was ignored
  } cases[] = {{"AAC ", false, 1024}, {"VBIS", false, 10240}, {"OPUS", true, 2}, {"MP3 ", true, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.audio);
    const MatroskaFile file = Make("VP9 ", c.audio, [&](TableFile& f) {
      if (c.early) f.AudioExtra(config);
      f.Video(Bytes(8, 1), 0, 40 * kMs, true);
      EXPECT_EQ(std::filesystem::file_size(path_), 0U);  // video waits until audio is seen
      f.Audio(Bytes(8, 2), 0, 24 * kMs);
      ASSERT_TRUE(c.early || std::filesystem::file_size(path_) > 0);  // then flushes each
      if (!c.early) f.AudioExtra(config);
    });
    ASSERT_TRUE(file.parsed && file.Track(2) != nullptr);
    const Bytes& got = file.Track(2)->codec_private;
    ASSERT_EQ(got.size(), c.expected);
    if (c.expected != 0) {
      EXPECT_EQ(Bytes(got.begin(), got.begin() + 2), config);
    }
  }
}

}  // namespace
}  // namespace kx::test
