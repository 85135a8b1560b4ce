// Whole files written through the multi-stream function table and read back
// with libwebm's parser: track numbering, cue track, sample paths, Duration,
// block kinds and the entry points' log lines.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "src/platform/clock.h"
#include "src/platform/crt_rand.h"
#include "src/platform/utf16.h"
#include "src/plugin/multi_stream_entry.h"
#include "tests/support/log_capture.h"
#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx {
namespace {

constexpr int64_t kMs = test::kTicksPerMs;
using test::Bytes;

struct Stream {
  uint32_t type;
  uint32_t index;
  char fourcc[5];
  uint32_t flags = 0;  // video flags word; additions mode 1 with it
};

MediaFileParams Record(const Stream& s) {
  MediaFileParams p{};
  p.video.width = 320;
  p.video.height = 240;
  p.video.frameRate = 25;
  p.video.flags = s.flags;
  p.video.lightPacingOrAdditionsMode = 1;
  p.audio.sampleRate = 48000;
  p.audio.channels = 2;
  std::memcpy(s.type == 2   ? &p.video.fourcc
              : s.type == 3 ? &p.audio.fourcc
                            : &p.subtitle.fourcc,
              s.fourcc, 4);
  return p;
}

// One handle of the multi-stream table, initialised on `streams`.
class MultiFile {
 public:
  MultiFile(const std::string& path, const std::vector<Stream>& streams,
            const char* container = "MKV ")
      : path_(path), handle_(CreateMediaFileMultiStream()) {
    for (const Stream& s : streams) {
      const MediaFileParams record = Record(s);
      AddStreamInfoMultiStream(handle_, static_cast<int32_t>(s.type), 0, 0, s.index, &record);
      types_[s.index] = s.type;
    }
    initialised_ = InitMediaFileMultiStream(handle_, test::Code(container),
                                            platform::Utf8ToUtf16(path).c_str(), 0) != 0;
  }
  ~MultiFile() { Close(); }
  void Close() {
    if (handle_ != nullptr) CloseMediaFileMultiStream(handle_);
    handle_ = nullptr;
  }
  void Write(uint32_t index, std::vector<uint8_t> data, int64_t ms, int32_t dur = 40,
             bool key = true, std::vector<uint8_t> additions = {}) {
    const uint32_t type = types_.count(index) != 0 ? types_[index] : 3;  // else audio
    MediaSample s{};
    (type == 2 ? s.videoData : type == 3 ? s.audioData : s.subtitleData) = data.data();
    (type == 2   ? s.videoSize
     : type == 3 ? s.audioSize
                 : s.subtitleSize) = static_cast<int32_t>(data.size());
    s.keyframe = key ? 1 : 0;
    s.start = ms * kMs;
    s.duration = dur * kMs;
    if (!additions.empty()) {  // shares its place with other types' fields
      s.additionalData = additions.data();
      s.additionalSize = static_cast<uint32_t>(additions.size());
    }
    WriteSampleMultiStream(handle_, index, &s, nullptr);
  }
  // Closes the file and reads it back.
  test::MatroskaFile Finish() {
    Close();
    return test::ReadMatroskaFile(path_);
  }
  bool initialised() const { return initialised_; }

 private:
  std::string path_;
  void* handle_;
  bool initialised_ = false;
  std::map<uint32_t, uint32_t> types_;  // by OutStreamIndex
};

std::vector<uint8_t> Slice(uint8_t type, uint8_t fill) { return {0, 0, 0, 1, type, fill, fill}; }

class MultiStreamFileTest : public ::testing::Test {
 protected:
  void SetUp() override { platform::PinCurrentUnixTime(1800000000); }
  void TearDown() override { platform::PinCurrentUnixTime(std::nullopt); }
  std::string Path(const char* name) const { return dir_.Path(name); }
  test::TempDir dir_;
  test::LogCapture log_;
};

struct LayoutCase {
  const char* name;
  std::vector<Stream> streams;
  std::vector<uint64_t> track_numbers;  // in Tracks order
  uint64_t cue_track;                   // 0: no cue points
  const char* container = "MKV ";
};

class TrackLayoutTest : public MultiStreamFileTest,
                        public ::testing::WithParamInterface<LayoutCase> {};

// Every stream gets 12 samples of 40 ms, video a key frame each 5th.
TEST_P(TrackLayoutTest, NumbersTracksByIndexAndCuesTheFirstOfTheFirstKind) {
  const LayoutCase& c = GetParam();
  MultiFile out(Path("layout.mkv"), c.streams, c.container);
  ASSERT_TRUE(out.initialised());
  for (int i = 0; i < 12; ++i) {
    for (const Stream& s : c.streams) {
      out.Write(s.index, s.type == 2 ? Slice(5, 1) : Bytes{'h', 'i'}, i * 40, 40,
                s.type != 2 || i % 5 == 0);
    }
  }
  const test::MatroskaFile file = out.Finish();
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.doc_type, c.container[0] == 'W' ? "webm" : "matroska");
  EXPECT_EQ(file.doc_type_version, 2U);
  std::vector<uint64_t> numbers;
  for (const auto& track : file.tracks) {
    numbers.push_back(track.number);
    EXPECT_EQ(file.BlocksOfTrack(track.number).size(), 12U) << track.number;
  }
  EXPECT_EQ(numbers, c.track_numbers);
  ASSERT_EQ(file.cues.empty(), c.cue_track == 0);
  for (const auto& cue : file.cues) EXPECT_EQ(cue.track, c.cue_track);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, TrackLayoutTest, ::testing::Values(
    LayoutCase{"AudioBeforeVideo", {{3, 4, "AAC "}, {2, 7, "VP9 "}}, {5, 8}, 8},  // still matroska
    LayoutCase{"NotRenumbered", {{3, 0, "AC3 "}, {3, 300, "MP3 "}, {3, 2, "AAC "}}, {1, 301, 3}, 1},
    LayoutCase{"SubtitleAfterAudio", {{5, 0, "SRT "}, {3, 3, "AC3 "}}, {1, 4}, 4},
    LayoutCase{"SubtitleOnly", {{5, 9, "ASS "}, {4, 2, "SRT "}, {5, 1, "XXXX"}}, {10}, 10},
    // TrackNumbers in one to five bytes, the last past 32 bits.
    LayoutCase{"IndexExtremes", {{3, 127, "AAC "}, {3, 16383, "AC3 "}, {3, 0x7FFFFFFF, "MP3 "},
               {2, 0xFFFFFFFE, "I264"}, {3, 0xFFFFFFFF, "AAC "}},
               {128, 16384, 1U << 31, 0xFFFFFFFF, 1ULL << 32}, 0xFFFFFFFF},
    LayoutCase{"NoTextTrackInWebm", {{5, 0, "SRT "}, {3, 3, "VBIS"}}, {4}, 4, "WEBM"}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

TEST_F(MultiStreamFileTest, CompactsW264SlicesInPlace) {
  MultiFile out(Path("w264.mkv"), {{2, 0, "W264"}, {3, 1, "AAC "}});
  std::vector<uint8_t> sample = Slice(7, 7);  // SPS, PPS, IDR slice
  for (auto part : {Slice(8, 8), Slice(5, 5)})
    sample.insert(sample.end(), part.begin(), part.end());
  out.Write(0, sample, 0, 40, false);
  out.Write(0, Slice(1, 9), 40, 40, true);  // a non-IDR slice clears the flag
  const test::MatroskaFile file = out.Finish();
  const auto blocks = file.BlocksOfTrack(1);
  ASSERT_EQ(blocks.size(), 2U);
  EXPECT_EQ(blocks[0].frames, (std::vector<std::vector<uint8_t>>{{0, 0, 0, 3, 5, 5, 5}}));
  EXPECT_TRUE(blocks[0].key);
  EXPECT_FALSE(blocks[1].key);
}

// The same streams through both tables, numbered alike (OutStreamIndex 1 and
// 2 make TrackNumbers 2 and 3, as the single-stream tracks have): the files
// differ only in the EBML header's versions and in the Duration's source, the
// audio durations' sum or the latest sample end (here a long audio sample's).
TEST_F(MultiStreamFileTest, BothTablesDifferOnlyWhereTheRulesSay) {
  MediaFileParams params = Record({2, 0, "I264"});
  params.audio.fourcc = test::Code("AC3 ");
  params.containerFourcc = test::Code("MKV ");
  platform::ResetCrtRand();  // the same TrackUIDs in both files
  test::TableFile single(test::Row("MKV "), dir_.WidePath(u"single.mkv"), params);
  for (int i = 0; i < 12; ++i) {  // a key frame each 6th; audio of 30 ms
    single.Video(Slice(i % 6 == 0 ? 5 : 1, i), i * 40 * kMs, 40 * kMs, i % 6 == 0);
    single.Audio({static_cast<uint8_t>(i), 7}, i * 40 * kMs, (i == 11 ? 200 : 30) * kMs);
  }
  single.Close();
  platform::ResetCrtRand();
  MultiFile multi(Path("multi.mkv"), {{2, 1, "I264"}, {3, 2, "AC3 "}});
  for (int i = 0; i < 12; ++i) {
    multi.Write(1, Slice(i % 6 == 0 ? 5 : 1, i), i * 40, 40, i % 6 == 0);
    multi.Write(2, {static_cast<uint8_t>(i), 7}, i * 40, i == 11 ? 200 : 30);
  }
  const test::MatroskaFile y = multi.Finish();
  const test::MatroskaFile x = test::ReadMatroskaFile(Path("single.mkv"));
  const std::string a = test::ReadFileBytes(Path("single.mkv"));
  const std::string b = test::ReadFileBytes(Path("multi.mkv"));
  ASSERT_EQ(a.size(), b.size());
  size_t differing = 0;
  for (size_t i = 0; i < a.size(); ++i) differing += a[i] != b[i] ? 1 : 0;
  EXPECT_LE(differing, 6U);  // two version bytes, four of the float
  EXPECT_EQ(x.doc_type_version, 1U);
  EXPECT_EQ(y.doc_type_version, 2U);
  EXPECT_DOUBLE_EQ(x.duration, 530.0);
  EXPECT_DOUBLE_EQ(y.duration, 640.0);
  EXPECT_EQ(y.blocks.size(), 24U);
}

// WebM tracks write SimpleBlocks, unless a VP8 or VP9 video record asks for
// block additions (flag 1 of its flags word): then BlockGroups carry them.
TEST_F(MultiStreamFileTest, BlockAdditionsTurnWebmBlocksIntoGroups) {
  const std::vector<uint8_t> alpha = {'a', 'l', 'p', 'h', 'a', '!'};
  const struct {
    Stream video, audio;
    bool groups;
  } cases[] = {{{2, 0, "VP9 "}, {3, 1, "VBIS"}, false},
               {{2, 0, "VP9 ", 1}, {3, 1, "VBIS"}, true},
               {{2, 0, "VP8 ", 1}, {3, 1, "VBIS"}, true},
               {{2, 0, "AV1 ", 1}, {3, 1, "VBIS"}, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.video.fourcc) + std::to_string(c.video.flags));
    MultiFile out(Path("alpha.webm"), {c.video, c.audio}, "WEBM");
    for (int i = 0; i < 6; ++i) out.Write(0, {0x82, 0x49}, i * 40, 40, i == 0, alpha);
    out.Write(1, {'a'}, 0, 32);
    const test::MatroskaFile file = out.Finish();
    EXPECT_EQ(file.doc_type, "webm");
    const auto blocks = file.BlocksOfTrack(1);
    ASSERT_EQ(blocks.size(), 6U);
    EXPECT_EQ(blocks[0].simple, !c.groups);
    const std::string bytes = test::ReadFileBytes(Path("alpha.webm"));
    size_t count = 0;
    for (size_t at = bytes.find("alpha!"); at != std::string::npos;
         at = bytes.find("alpha!", at + 1))
      ++count;
    EXPECT_EQ(count, c.groups ? 6U : 0U);
  }
}

struct InitCase {
  const char* name;
  std::vector<Stream> streams;
  const char* container;
  const char* file;
  int inits;  // calls on the same handle
  const char* last_line;
};

class InitTest : public MultiStreamFileTest, public ::testing::WithParamInterface<InitCase> {};

TEST_P(InitTest, LogsTheOutcome) {
  const InitCase& c = GetParam();
  void* handle = CreateMediaFileMultiStream();
  for (const Stream& s : c.streams) {
    const MediaFileParams record = Record(s);
    AddStreamInfoMultiStream(handle, static_cast<int32_t>(s.type), 1, 2, s.index, &record);
  }
  const std::u16string path = dir_.WidePath(std::u16string(c.file, c.file + std::strlen(c.file)));
  int32_t result = 0;
  for (int i = 0; i < c.inits; ++i)
    result = InitMediaFileMultiStream(handle, test::Code(c.container), path.c_str(), 0);
  CloseMediaFileMultiStream(handle);
  const std::string log = log_.Text();
  const std::string expected = std::string("kx_mkv: InitMediaFileMultiStream ") + c.last_line +
                               ",file fourcc =[" + c.container + "] ,filename =[" + Path(c.file) +
                               "]\nkx_mkv: CloseMediaFileMultiStream \n";
  ASSERT_GE(log.size(), expected.size()) << log;
  EXPECT_EQ(log.substr(log.size() - expected.size()), expected) << log;
  EXPECT_EQ(result, std::string(c.last_line) == "Success" ? 1 : 0);
  EXPECT_EQ(test::ReadFileBytes(dir_.path() / "a.mkv"), "");  // nothing written
}

INSTANTIATE_TEST_SUITE_P(
    Cases, InitTest,
    ::testing::Values(InitCase{"Opened", {{3, 0, "AAC "}}, "MKA ", "a.mkv", 1, "Success"},
                      InitCase{"UnknownFourCC", {{3, 0, "AAC "}}, "AVI ", "a.mkv", 1, "Failed"},
                      InitCase{"NoStreams", {}, "MKV ", "a.mkv", 1, "Failed"},
                      InitCase{"SecondInit", {{3, 0, "AAC "}}, "WEBM", "a.mkv", 2, "Failed"},
                      InitCase{
                          "Unopenable", {{2, 0, "HEVC"}}, "MKV ", "no/dir/a.mkv", 1, "Failed"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MultiStreamFileTest, LogsEveryAnnouncedStream) {
  Stream audio{3, 3, "AAC "};
  MediaFileParams record = Record(audio);
  record.audio.bitRate = 128000;
  void* handle = CreateMediaFileMultiStream();
  AddStreamInfoMultiStream(handle, 3, 1, 2, 3, &record);
  std::memcpy(record.audio.language, u"fra", 8);
  AddStreamInfoMultiStream(handle, 7, 1, 2, 3, &record);  // stored, not logged
  record = Record({2, 0, "H264"});
  AddStreamInfoMultiStream(handle, 2, 4, 5, 6, &record);
  record = Record({5, 0, "ASS "});
  AddStreamInfoMultiStream(handle, 5, 0, 0, 1, &record);
  EXPECT_EQ(AddStreamInfoMultiStream(nullptr, 3, 0, 0, 0, &record), 1);
  WriteExtraDataMultiStream(handle, 9, nullptr, 0);
  CloseMediaFileMultiStream(handle);
  EXPECT_EQ(log_.Text(),
            "kx_mkv: CreateMediaFileMultiStream \n"
            "kx_mkv:AddStreamInfoMultiStream::streamtype = AUDIO,programid=1 ,InStreamindex =2 "
            ",OutStreamIndex=3 \n"
            "kx_mkv:AddStreamInfoMultiStream::streamfourcc= [AAC ], channel=2 ,samplerate =48000 "
            ",bitrate=128000 ,language=und \n"
            "kx_mkv:AddStreamInfoMultiStream::streamtype = VIDEO,programid=4 ,InStreamindex =5 "
            ",OutStreamIndex=6 \n"
            "kx_mkv:AddStreamInfoMultiStream::streamfourcc= [H264],width=320 ,height =240 "
            ",framerate=25.000000,bitrate=0 \n"
            "kx_mkv:AddStreamInfoMultiStream::streamtype = SUBPIC_External,programid=0 "
            ",InStreamindex =0 ,OutStreamIndex=1 \n"
            "kx_mkv:AddStreamInfoMultiStream::streamfourcc = [ASS ] , language=und \n"
            "kx_mkv: WriteExtraDataMultiStream,streamidx =[9] \n"
            "kx_mkv: CloseMediaFileMultiStream \n");
}

}  // namespace
}  // namespace kx
