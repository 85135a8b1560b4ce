// Routing by OutStreamIndex and stream type, and the length-prefixed extra
// data layouts, seen through a muxer that records what reaches it.
#include "src/multi/stream_table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "src/multi/multi_muxer.h"
#include "tests/support/log_capture.h"

namespace kx {
namespace {

// Records every call as "Op index" plus, for extra data, the blocks as
// offset:length within the data given (or "-" for a null block).
class RecordingMuxer : public MultiMuxer {
 public:
  int32_t WriteAudioSample(uint32_t i, const MediaSample&, const FrameSizeTable*) override {
    return Note("A", i, 3);
  }
  int32_t WriteVideoSample(uint32_t i, const MediaSample&) override { return Note("V", i, 2); }
  int32_t WriteInternalSubtitleSample(uint32_t i, const MediaSample&) override {
    return Note("I", i, 4);
  }
  int32_t WriteExternalSubtitleSample(uint32_t i, const MediaSample&) override {
    return Note("E", i, 5);
  }
  void SetAudioExtraData(uint32_t i, const uint8_t* d, int32_t n) override {
    Note("xA", i, 0, Block(d, n));
  }
  void SetVideoExtraData(uint32_t i, const uint8_t* d2, int32_t n2, const uint8_t* d1,
                         int32_t n1) override {
    Note("xV", i, 0, Block(d1, n1) + Block(d2, n2));
  }
  void SetExternalSubtitleExtraData(uint32_t i, const uint8_t* d, int32_t n) override {
    Note("xE", i, 0, Block(d, n));
  }
  std::string calls;
  const uint8_t* base = nullptr;

 private:
  int32_t Note(const std::string& op, uint32_t index, int32_t result,
               const std::string& blocks = "") {
    calls += op + std::to_string(index) + blocks + " ";
    return result;
  }
  std::string Block(const uint8_t* d, int32_t n) const {
    return d == nullptr ? "(-)" : "(" + std::to_string(d - base) + ":" + std::to_string(n) + ")";
  }
};

struct Stream {
  uint32_t type;
  uint32_t index;
};

struct DispatchCase {
  const char* name;
  std::vector<Stream> streams;
  std::vector<uint8_t> extra;  // sent to index 1, with its size
  std::string calls;           // after one sample to index 1, then the extra data
  bool refused_logged = false;
};

class DispatchTest : public ::testing::TestWithParam<DispatchCase> {};

TEST_P(DispatchTest, RoutesByIndexAndType) {
  const DispatchCase& c = GetParam();
  test::LogCapture log;
  RecordingMuxer muxer;
  const MediaFileParams params{};
  for (const Stream& s : c.streams) muxer.AddStreamInfo(s.type, 0, 0, s.index, params);
  const MediaSample sample{};
  const int32_t result = muxer.WriteSample(1, &sample, nullptr);
  muxer.base = c.extra.data();
  muxer.WriteExtraData(1, c.extra.empty() ? nullptr : c.extra.data(),
                       static_cast<int32_t>(c.extra.size()));
  EXPECT_EQ(muxer.calls, c.calls);
  // The result is that of the last operation called (each returns its type).
  int32_t last = 0;
  for (const Stream& s : c.streams)
    if (s.index == 1 && s.type >= 2 && s.type <= 5) last = static_cast<int32_t>(s.type);
  EXPECT_EQ(result, last);
  EXPECT_EQ(log.Text().find("runs past") != std::string::npos, c.refused_logged) << log.Text();
}

const std::vector<uint8_t> kAudio9 = {5, 0, 0, 0, 1, 2, 3, 4, 5};
const std::vector<uint8_t> kAudioPast = {6, 0, 0, 0, 1, 2, 3, 4, 5};
const std::vector<uint8_t> kVideo12 = {0, 0, 0, 0, 4, 0, 0, 0, 9, 9, 9, 9};
const std::vector<uint8_t> kVideo8 = {0, 0, 0, 0, 4, 0, 0, 0};
const std::vector<uint8_t> kVideoBoth = {1, 0, 0, 0, 7, 2, 0, 0, 0, 8, 8};
const std::vector<uint8_t> kVideoFirstPast = {9, 0, 0, 0, 7, 2, 0, 0, 0, 8, 8};
const std::vector<uint8_t> kVideoSecondPast = {1, 0, 0, 0, 7, 3, 0, 0, 0, 8, 8};
const std::vector<uint8_t> kVideoHugeFirst = {0xF0, 0xFF, 0xFF, 0xFF, 7, 2, 0, 0, 0, 8, 8};

INSTANTIATE_TEST_SUITE_P(
    Cases, DispatchTest,
    ::testing::Values(
        DispatchCase{
            "VideoAndAudioShareAnIndex", {{2, 1}, {3, 1}}, kVideo12, "V1 A1 xV1(4:0)(8:4) "},
        DispatchCase{"AudioFirstOfTwo", {{3, 1}, {2, 1}}, kAudio9, "A1 V1 xA1(4:5) "},
        DispatchCase{"OtherIndexesIgnored", {{3, 0}, {2, 2}}, kAudio9, ""},
        DispatchCase{"UnknownTypeStoredNotRouted", {{7, 1}, {3, 1}}, kAudio9, "A1 xA1(4:5) "},
        DispatchCase{"SubtitlesRouted", {{4, 1}, {5, 1}}, kAudio9, "I1 E1 "},
        DispatchCase{"ExternalSubtitleExtraData", {{5, 1}}, kAudio9, "E1 xE1(4:5) "},
        DispatchCase{"AudioOfFourBytesIsNull", {{3, 1}}, {5, 0, 0, 0}, "A1 xA1(-) "},
        DispatchCase{"AudioWithoutDataIsNull", {{3, 1}}, {}, "A1 xA1(-) "},
        DispatchCase{"AudioPastTheEndRefused", {{3, 1}}, kAudioPast, "A1 ", true},
        DispatchCase{"VideoOfEightBytesHasNoSecond", {{2, 1}}, kVideo8, "V1 xV1(4:0)(-) "},
        DispatchCase{"VideoBothBlocks", {{2, 1}}, kVideoBoth, "V1 xV1(4:1)(9:2) "},
        DispatchCase{"VideoFirstPastTheEnd", {{2, 1}}, kVideoFirstPast, "V1 ", true},
        DispatchCase{"VideoSecondPastTheEnd", {{2, 1}}, kVideoSecondPast, "V1 ", true},
        DispatchCase{"VideoHugeFirstLength", {{2, 1}}, kVideoHugeFirst, "V1 ", true}),
    [](const auto& info) { return std::string(info.param.name); });

// Only a video record's flag asks for block additions.
TEST(AdditionsModeTest, AudioRecordsDoNotSetIt) {
  RecordingMuxer muxer;
  MediaFileParams params{};
  std::memcpy(&params.video.fourcc, "VP9 ", 4);
  params.video.flags = params.video.lightPacingOrAdditionsMode = 1;
  muxer.AddStreamInfo(3, 0, 0, 1, params);
  EXPECT_EQ(muxer.additions_mode(), 0U);
  muxer.AddStreamInfo(2, 0, 0, 1, params);
  EXPECT_EQ(muxer.additions_mode(), 1U);
}

}  // namespace
}  // namespace kx
