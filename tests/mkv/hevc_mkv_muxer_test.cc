// The HEVC muxer: Annex B samples reframed without parameter sets, the key
// frame rule, and the hvcC record in its fixed CodecPrivate.
#include "src/mkv/hevc_mkv_muxer.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/mkv/muxer_file_util.h"
#include "tests/support/log_capture.h"
#include "tests/support/matroska_file.h"

namespace kx {
namespace {

using Bytes = std::vector<uint8_t>;

// VPS, SPS and PPS of an 8-bit Main-profile x265 stream (320x240).
const Bytes kParameterSets = {
    0x00, 0x00, 0x00, 0x01, 0x40, 0x01, 0x0C, 0x01, 0xFF, 0xFF, 0x01, 0x60, 0x00, 0x00, 0x03,
    0x00, 0x90, 0x00, 0x00, 0x03, 0x00, 0x00, 0x03, 0x00, 0x3C, 0x95, 0x98, 0x09, 0x00, 0x00,
    0x00, 0x01, 0x42, 0x01, 0x01, 0x01, 0x60, 0x00, 0x00, 0x03, 0x00, 0x90, 0x00, 0x00, 0x03,
    0x00, 0x00, 0x03, 0x00, 0x3C, 0xA0, 0x0A, 0x08, 0x0F, 0x16, 0x59, 0x59, 0xA4, 0x93, 0x2B,
    0xC0, 0x5A, 0x02, 0x00, 0x00, 0x03, 0x00, 0x02, 0x00, 0x00, 0x03, 0x00, 0x32, 0x10, 0x00,
    0x00, 0x00, 0x01, 0x44, 0x01, 0xC1, 0x72, 0xB4, 0x62, 0x40,
};

Bytes Unit(uint8_t type, std::initializer_list<uint8_t> payload, bool four_byte = true) {
  Bytes unit = four_byte ? Bytes{0, 0, 0, 1} : Bytes{0, 0, 1};
  unit.push_back(static_cast<uint8_t>(type << 1));
  unit.push_back(0x01);
  unit.insert(unit.end(), payload);
  return unit;
}

Bytes Join(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

constexpr uint8_t kIdrWRadl = 19;
constexpr uint8_t kTrailR = 1;
constexpr uint8_t kSuffixSei = 40;

class HevcMkvMuxerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(muxer_.Init(dir_.WidePath(u"hevc.mkv").c_str(), test::MuxerParams("HEVC", "AC3 ")),
              1);
  }

  int32_t Video(Bytes data, int64_t start_ms, bool key) {
    return muxer_.WriteVideoSample(test::VideoSample(data, start_ms, key));
  }
  void Audio(int64_t start_ms) {
    Bytes data(8, 0x0B);
    muxer_.WriteAudioSample(test::AudioSample(data, start_ms), nullptr);
  }
  test::MatroskaFile CloseAndRead() {
    muxer_.Close();
    return test::ReadMatroskaFile((dir_.path() / "hevc.mkv").string());
  }

  test::PinnedTime time_;
  test::TempDir dir_;
  HevcMKVMuxer muxer_;
};

TEST_F(HevcMkvMuxerTest, ParameterSetsLeaveTheSampleAndKeyFramesFollowTheLastUnit) {
  const Bytes slice = Unit(kIdrWRadl, {0xAF, 0x01}, false);  // 3-byte start code
  // VPS, SPS, PPS and an IDR slice: one block with only the slice, key.
  EXPECT_EQ(Video(Join({kParameterSets, slice}), 0, false), 8);
  // An IDR slice followed by a suffix SEI: not a key frame.
  EXPECT_EQ(Video(Join({Unit(kIdrWRadl, {0x01}), Unit(kSuffixSei, {0x02})}), 40, true), 7 + 7);
  // Only parameter sets: nothing.
  EXPECT_EQ(Video(kParameterSets, 80, true), 0);
  // Already length-prefixed (no start code): nothing.
  EXPECT_EQ(Video(Bytes{0, 0, 0, 3, 0x26, 0x01, 0xAF}, 80, true), 0);
  EXPECT_EQ(Video(Unit(kTrailR, {0x11}), 80, false), 7);
  Audio(0);
  const test::MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  const auto blocks = file.BlocksOfTrack(2);
  ASSERT_EQ(blocks.size(), 3U);
  EXPECT_EQ(blocks[0].frames[0], (Bytes{0, 0, 0, 4, 0x26, 0x01, 0xAF, 0x01}));
  EXPECT_TRUE(blocks[0].key);
  EXPECT_EQ(blocks[1].frames[0],
            (Bytes{0, 0, 0, 3, 0x26, 0x01, 0x01, 0, 0, 0, 3, 0x50, 0x01, 0x02}));
  EXPECT_FALSE(blocks[1].key);
  EXPECT_FALSE(blocks[2].key);
  // Only the IDR picture was flagged as a key frame, so only it is cued.
  ASSERT_EQ(file.cues.size(), 1U);
  EXPECT_EQ(file.cues[0].time, 0U);
}

TEST_F(HevcMkvMuxerTest, RecordBeforeTheFirstFlushIsWrittenWithTracks) {
  muxer_.SetVideoExtraData(nullptr, 0, kParameterSets.data(),
                           static_cast<int32_t>(kParameterSets.size()));
  Video(Unit(kIdrWRadl, {0x01}), 0, true);
  Audio(0);
  const test::MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  const auto* video = file.Track(2);
  ASSERT_NE(video, nullptr);
  EXPECT_EQ(video->codec_id, "V_MPEGH/ISO/HEVC");
  ASSERT_EQ(video->codec_private.size(), 1024U);
  // configurationVersion 1, Main profile, Main tier; three arrays.
  EXPECT_EQ(video->codec_private[0], 0x01);
  EXPECT_EQ(video->codec_private[1], 0x01);
  EXPECT_EQ(video->codec_private[22], 3);
  EXPECT_EQ(video->codec_private[23], 0x20);  // VPS array first
  EXPECT_EQ(video->codec_private.back(), 0);
}

TEST_F(HevcMkvMuxerTest, RecordAfterTheFirstFlushRewritesTracksInPlace) {
  for (int i = 0; i < 6; ++i) {
    Audio(i * 32);
    Video(Unit(i == 0 ? kIdrWRadl : kTrailR, {0x01}), i * 40, i == 0);
  }
  muxer_.SetVideoExtraData(nullptr, 0, kParameterSets.data(),
                           static_cast<int32_t>(kParameterSets.size()));
  const test::MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.Track(2)->codec_private.size(), 1024U);
  EXPECT_EQ(file.Track(2)->codec_private[0], 0x01);
  EXPECT_EQ(file.BlocksOfTrack(2).size(), 6U);
}

TEST_F(HevcMkvMuxerTest, UnusableParameterSetsAreLoggedAndLeaveZeros) {
  test::LogCapture log;
  const Bytes slices_only = Unit(kTrailR, {1, 2, 3, 4});
  muxer_.SetVideoExtraData(nullptr, 0, slices_only.data(),
                           static_cast<int32_t>(slices_only.size()));
  EXPECT_NE(log.Text().find("[kx_mkv] parse hevc sps pps failed!\n"), std::string::npos);
  Video(Unit(kIdrWRadl, {0x01}), 0, true);
  Audio(0);
  const test::MatroskaFile file = CloseAndRead();
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.Track(2)->codec_private, Bytes(1024, 0));
}

}  // namespace
}  // namespace kx
