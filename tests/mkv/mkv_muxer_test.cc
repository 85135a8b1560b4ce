// MKVMuxer writing real files: layout, cluster grid, cues, durations and the
// in-place rewrites at close.
#include "src/mkv/mkv_muxer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "src/ebml/element_ids.h"
#include "src/platform/utf16.h"
#include "tests/mkv/muxer_file_util.h"
#include "tests/support/matroska_file.h"

namespace kx {
namespace {

using Bytes = std::vector<uint8_t>;
using test::MatroskaFile;
using test::ReadMatroskaFile;
namespace ids = MatroskaWriter::ids;

class MkvMuxerTest : public ::testing::Test {
 protected:
  static MediaFileParams Params(const char (&video)[5], const char (&audio)[5]) {
    return test::MuxerParams(video, audio);
  }

  void Open(const MediaFileParams& params) {
    ASSERT_EQ(muxer_.Init(dir_.WidePath(u"out.mkv").c_str(), params), 1);
  }

  int32_t Video(int64_t start_ms, bool key, int32_t duration_ms = 40) {
    Bytes data(10, static_cast<uint8_t>(start_ms));
    return muxer_.WriteVideoSample(test::VideoSample(data, start_ms, key, duration_ms));
  }

  int32_t Audio(int64_t start_ms, int32_t duration_ms = 32) {
    Bytes data(6, 0xA0);
    return muxer_.WriteAudioSample(test::AudioSample(data, start_ms, duration_ms), nullptr);
  }

  MatroskaFile CloseAndRead() {
    muxer_.Close();
    return ReadMatroskaFile(path_);
  }

  test::PinnedTime time_;
  test::TempDir dir_;
  std::string path_ = (dir_.path() / "out.mkv").string();
  MKVMuxer muxer_;
};

TEST_F(MkvMuxerTest, CreateAndCloseWithoutSamplesLeavesAnEmptyFile) {
  Open(Params("VP9 ", "AC3 "));
  muxer_.Close();
  ASSERT_TRUE(std::filesystem::exists(path_));
  EXPECT_EQ(std::filesystem::file_size(path_), 0U);
}

TEST_F(MkvMuxerTest, FinishedFileLayout) {
  Open(Params("VP9 ", "AC3 "));
  for (int i = 0; i < 50; ++i) {
    Video(i * 40, i % 10 == 0);
    Audio(i * 40);
  }
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  const auto size = std::filesystem::file_size(path_);
  EXPECT_EQ(file.segment_size, size - file.segment_data_position);

  // SeekHead, Void, Info, Tracks, Clusters, Cues, cluster SeekHead.
  std::vector<uint32_t> order;
  for (const auto& e : file.top_level) {
    if (order.empty() || order.back() != e.id || e.id != ids::kCluster) order.push_back(e.id);
  }
  EXPECT_EQ(order, (std::vector<uint32_t>{ids::kSeekHead, ids::kVoid, ids::kInfo, ids::kTracks,
                                          ids::kCluster, ids::kCues, ids::kSeekHead}));
  const auto& seek_head = file.top_level[0];
  const auto& filler = file.top_level[1];
  const auto& info = file.top_level[2];
  const auto& tracks = file.top_level[3];
  EXPECT_EQ(seek_head.position, file.segment_data_position);
  // The reserved 4099 bytes hold exactly the SeekHead and the Void.
  EXPECT_EQ(filler.position + filler.header_size + filler.size, info.position);
  EXPECT_EQ(info.position - file.segment_data_position, 4099U);

  // Main SeekHead: Info, Tracks, Cues, cluster SeekHead, in this order.
  std::vector<test::SeekEntry> main;
  for (const auto& s : file.seeks) {
    if (s.seek_head_position == seek_head.position) main.push_back(s);
  }
  ASSERT_EQ(main.size(), 4U);
  const uint64_t data = file.segment_data_position;
  EXPECT_EQ(main[0].id, ids::kInfo);
  EXPECT_EQ(main[0].position, info.position - data);
  EXPECT_EQ(main[1].id, ids::kTracks);
  EXPECT_EQ(main[1].position, info.position + info.header_size + info.size - data);
  EXPECT_EQ(main[1].position, tracks.position - data);
  EXPECT_EQ(main[2].id, ids::kCues);
  EXPECT_EQ(main[3].id, ids::kSeekHead);
  EXPECT_EQ(main[3].position, file.top_level.back().position - data);
  // The cluster SeekHead lists every Cluster.
  std::vector<uint64_t> cluster_seeks;
  for (const auto& s : file.seeks) {
    if (s.id == ids::kCluster) cluster_seeks.push_back(s.position + data);
  }
  EXPECT_EQ(cluster_seeks, file.cluster_positions);

  EXPECT_EQ(file.doc_type, "webm");  // VP9 video
  EXPECT_EQ(file.doc_type_version, 1U);
  EXPECT_EQ(file.muxing_app, "Tarnwhistle Matroska Muxer");
  // DateUTC in nanoseconds from the pinned time.
  const std::string raw = test::ReadFileBytes(path_);
  const Bytes bytes(raw.begin(), raw.end());
  const Bytes date = {0x44, 0x61, 0x88, 0x0B, 0x1A, 0x2B, 0xC2, 0xEC, 0x50, 0x00, 0x00};
  EXPECT_NE(std::search(bytes.begin(), bytes.end(), date.begin(), date.end()), bytes.end());
}

TEST_F(MkvMuxerTest, ClustersFollowThe300MillisecondGrid) {
  Open(Params("VP9 ", "AC3 "));
  Audio(0);
  Video(0, true);
  Video(300, false);   // still the first Cluster, relative time 300
  Video(301, false);   // opens the Cluster at 300
  Video(10000, true);  // 33 steps later, no empty Clusters
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.cluster_timecodes, (std::vector<uint64_t>{0, 300, 9900}));
  const auto video = file.BlocksOfTrack(2);
  ASSERT_EQ(video.size(), 4U);
  EXPECT_EQ(video[1].cluster_timecode, 0U);
  EXPECT_EQ(video[1].relative_time, 300);
  EXPECT_EQ(video[2].cluster_timecode, 300U);
  EXPECT_EQ(video[2].relative_time, 1);
  EXPECT_EQ(video[3].relative_time, 100);
  // Non-key frames refer to their predecessor.
  EXPECT_EQ(video[1].references, (std::vector<int64_t>{-300}));
  EXPECT_TRUE(video[3].references.empty());
}

TEST_F(MkvMuxerTest, AJumpFarAheadMovesTheGridInOneStep) {
  Open(Params("VP9 ", "AC3 "));
  Audio(0);
  Video(0, true);
  constexpr int64_t kFarAhead = 1000000000000;  // about 31 years later
  Video(kFarAhead, true);
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  const uint64_t last = (kFarAhead - 1) / 300 * 300;
  EXPECT_EQ(file.cluster_timecodes, (std::vector<uint64_t>{0, last}));
  EXPECT_EQ(file.BlocksOfTrack(2).back().time(), kFarAhead);
}

TEST_F(MkvMuxerTest, CuePointsMarkTheFirstVideoKeyFrameOfEachCluster) {
  Open(Params("VP9 ", "AC3 "));
  for (int i = 0; i < 40; ++i) {
    Audio(i * 40);
    Video(i * 40, i % 5 == 0);  // key frame every 200 ms
  }
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  ASSERT_FALSE(file.cues.empty());
  for (size_t i = 0; i < file.cues.size(); ++i) {
    const auto& cue = file.cues[i];
    EXPECT_EQ(cue.track, 2U);
    EXPECT_EQ(cue.time % 200, 0U);
    const uint64_t cluster = cue.cluster_position + file.segment_data_position;
    EXPECT_NE(std::find(file.cluster_positions.begin(), file.cluster_positions.end(), cluster),
              file.cluster_positions.end());
    if (i > 0) {
      EXPECT_NE(cue.cluster_position, file.cues[i - 1].cluster_position);
    }
  }
  // The first key frame opens the file's first Cluster: no block number.
  EXPECT_EQ(file.cues[0].time, 0U);
  EXPECT_FALSE(file.cues[0].has_block_number);
}

TEST_F(MkvMuxerTest, DurationFollowsTheAudioSumWhenItIsClose) {
  Open(Params("VP9 ", "AC3 "));
  for (int i = 0; i < 250; ++i) Video(i * 40, i % 25 == 0);  // last start 9960 ms
  for (int i = 0; i < 100; ++i) Audio(i * 100, 100);         // 10 s of audio
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_DOUBLE_EQ(file.duration, 10000.0);
}

TEST_F(MkvMuxerTest, VideoOnlyDurationIsTheLastStartPlusOne) {
  auto params = Params("VP9 ", "AC3 ");
  params.noAudio = 1;
  Open(params);
  for (int i = 0; i < 250; ++i) Video(i * 40, i % 25 == 0);
  MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_DOUBLE_EQ(file.duration, 9961.0);
}

TEST_F(MkvMuxerTest, ShortVideoOnlyFileEndsWithDurationZero) {
  auto params = Params("VP9 ", "AC3 ");
  params.noAudio = 1;
  Open(params);
  for (int i = 0; i < 20; ++i) Video(i * 40, i == 0);  // 760 ms
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_DOUBLE_EQ(file.duration, 0.0);
}

TEST_F(MkvMuxerTest, LateAudioConfigurationPatchesTheReservation) {
  Open(Params("VP9 ", "AAC "));
  for (int i = 0; i < 10; ++i) {
    Video(i * 40, i == 0);
    Audio(i * 40);
  }
  const Bytes config = {0x11, 0x90};
  muxer_.SetAudioExtraData(config.data(), 2);
  const Bytes too_long(1025, 1);
  muxer_.SetAudioExtraData(too_long.data(), 1025);  // does not fit: ignored
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  const auto* audio = file.Track(3);
  ASSERT_NE(audio, nullptr);
  ASSERT_EQ(audio->codec_private.size(), 1024U);
  EXPECT_EQ(audio->codec_private[0], 0x11);
  EXPECT_EQ(audio->codec_private[1], 0x90);
  EXPECT_TRUE(std::all_of(audio->codec_private.begin() + 2, audio->codec_private.end(),
                          [](uint8_t b) { return b == 0; }));
}

TEST_F(MkvMuxerTest, EarlyAudioConfigurationHasItsOwnSize) {
  Open(Params("VP9 ", "AAC "));
  const Bytes config = {0x11, 0x90};
  muxer_.SetAudioExtraData(config.data(), 2);
  Video(0, true);
  Audio(0);
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.Track(3)->codec_private, config);
}

TEST_F(MkvMuxerTest, StreamOperationsWithoutAFileReportNoFileObject) {
  Open(Params("VP9 ", "AC3 "));
  muxer_.Close();
  const uint8_t byte = 0;
  EXPECT_EQ(muxer_.Write(&byte, 1, nullptr), kNoFileObject);
  EXPECT_EQ(muxer_.SeekTo(0, kSeekBegin, nullptr), kNoFileObject);
}

TEST_F(MkvMuxerTest, NoVideoKeepsTheAudioTrackNumber) {
  auto params = Params("VP9 ", "AC3 ");
  params.noVideo = 1;
  Open(params);
  for (int i = 0; i < 8; ++i) Audio(i * 32);
  const MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 1U);
  EXPECT_EQ(file.tracks[0].number, 3U);
  EXPECT_EQ(file.BlocksOfTrack(3).size(), 8U);
  EXPECT_TRUE(file.cues.empty());  // no video: no cue track
}

}  // namespace
}  // namespace kx
