// Whole files written through the multi-stream function table and read back
// with libwebm's parser: track numbering, cue track, sample paths, Duration,
// block kinds, subtitles, the entry points' log lines, and the same streams
// through both tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "src/platform/clock.h"
#include "src/platform/crt_rand.h"
#include "src/plugin/multi_stream_entry.h"
#include "src/plugin/single_stream_entry.h"
#include "tests/support/log_capture.h"
#include "tests/support/matroska_file.h"
#include "tests/support/temp_dir.h"

namespace kx {
namespace {

constexpr int64_t kMs = 10000;

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
  MultiFile(const std::u16string& path, const std::vector<Stream>& streams,
            const char (&container)[5] = "MKV ")
      : handle_(CreateMediaFileMultiStream()) {
    for (const Stream& s : streams) {
      const MediaFileParams record = Record(s);
      AddStreamInfoMultiStream(handle_, static_cast<int32_t>(s.type), 0, 0, s.index, &record);
    }
    uint32_t fourcc = 0;
    std::memcpy(&fourcc, container, 4);
    initialised_ = InitMediaFileMultiStream(handle_, fourcc, path.c_str(), 0) != 0;
  }
  ~MultiFile() { Close(); }
  void Close() {
    if (handle_ != nullptr) CloseMediaFileMultiStream(handle_);
    handle_ = nullptr;
  }
  void Video(uint32_t index, std::vector<uint8_t> data, int64_t ms, bool key, int32_t dur = 40,
             std::vector<uint8_t> additions = {}) {
    MediaSample s{};
    s.videoData = data.data();
    s.videoSize = static_cast<int32_t>(data.size());
    s.additionalData = additions.data();
    s.additionalSize = static_cast<uint32_t>(additions.size());
    s.keyframe = key ? 1 : 0;
    Write(index, s, ms, dur);
  }
  void Audio(uint32_t index, std::vector<uint8_t> data, int64_t ms, int32_t dur = 32) {
    MediaSample s{};
    s.audioData = data.data();
    s.audioSize = static_cast<int32_t>(data.size());
    Write(index, s, ms, dur);
  }
  void Text(uint32_t index, std::string text, int64_t ms, int32_t dur) {
    MediaSample s{};
    s.subtitleData = reinterpret_cast<uint8_t*>(text.data());
    s.subtitleSize = static_cast<int32_t>(text.size());
    Write(index, s, ms, dur);
  }
  void Extra(uint32_t index, const std::vector<uint8_t>& data) {
    WriteExtraDataMultiStream(handle_, index, data.data(), static_cast<int32_t>(data.size()));
  }
  bool initialised() const { return initialised_; }
  void* handle() const { return handle_; }

 private:
  void Write(uint32_t index, MediaSample& s, int64_t ms, int32_t dur) {
    s.start = ms * kMs;
    s.duration = dur * kMs;
    WriteSampleMultiStream(handle_, index, &s, nullptr);
  }
  void* handle_;
  bool initialised_ = false;
};

std::vector<uint8_t> Slice(uint8_t type, uint8_t fill) { return {0, 0, 0, 1, type, fill, fill}; }

class MultiStreamFileTest : public ::testing::Test {
 protected:
  void SetUp() override { platform::PinCurrentUnixTime(1800000000); }
  void TearDown() override { platform::PinCurrentUnixTime(std::nullopt); }
  std::string Path(const char* name) const { return (dir_.path() / name).string(); }
  std::u16string WidePath(const char16_t* name) const { return dir_.WidePath(name); }
  test::TempDir dir_;
  test::LogCapture log_;
};

struct LayoutCase {
  const char* name;
  std::vector<Stream> streams;
  std::vector<uint64_t> track_numbers;  // in Tracks order
  uint64_t cue_track;                   // 0: no cue points
};

class TrackLayoutTest : public MultiStreamFileTest,
                        public ::testing::WithParamInterface<LayoutCase> {};

// Every stream gets 12 samples of 40 ms, video a key frame each 5th.
TEST_P(TrackLayoutTest, NumbersTracksByIndexAndCuesTheFirstOfTheFirstKind) {
  const LayoutCase& c = GetParam();
  {
    MultiFile file(WidePath(u"layout.mkv"), c.streams);
    ASSERT_TRUE(file.initialised());
    for (int i = 0; i < 12; ++i) {
      for (const Stream& s : c.streams) {
        if (s.type == 2) file.Video(s.index, Slice(5, 1), i * 40, i % 5 == 0);
        if (s.type == 3) file.Audio(s.index, {1, 2, 3}, i * 40, 40);
        if (s.type == 5) file.Text(s.index, "hi", i * 40, 40);
      }
    }
  }
  const test::MatroskaFile file = test::ReadMatroskaFile(Path("layout.mkv"));
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.doc_type, "matroska");
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

INSTANTIATE_TEST_SUITE_P(
    Cases, TrackLayoutTest,
    ::testing::Values(
        LayoutCase{"AudioBeforeVideo", {{3, 4, "AAC "}, {2, 7, "I264"}}, {5, 8}, 8},
        LayoutCase{"NotRenumbered", {{3, 0, "AC3 "}, {3, 5, "MP3 "}, {3, 2, "AAC "}}, {1, 6, 3}, 1},
        LayoutCase{"SubtitleAfterAudio", {{5, 0, "SRT "}, {3, 3, "AC3 "}}, {1, 4}, 4},
        LayoutCase{"SubtitleOnly", {{5, 9, "ASS "}, {4, 2, "SRT "}, {5, 1, "XXXX"}}, {10}, 10}),
    [](const auto& info) { return std::string(info.param.name); });

TEST_F(MultiStreamFileTest, CompactsW264SlicesInPlace) {
  {
    MultiFile file(WidePath(u"w264.mkv"), {{2, 0, "W264"}, {3, 1, "AAC "}});
    std::vector<uint8_t> sample = Slice(7, 7);  // SPS, PPS, IDR slice
    for (auto part : {Slice(8, 8), Slice(5, 5)})
      sample.insert(sample.end(), part.begin(), part.end());
    file.Video(0, sample, 0, false);
    file.Video(0, Slice(1, 9), 40, true);  // a non-IDR slice clears the flag
  }
  const test::MatroskaFile file = test::ReadMatroskaFile(Path("w264.mkv"));
  const auto blocks = file.BlocksOfTrack(1);
  ASSERT_EQ(blocks.size(), 2U);
  EXPECT_EQ(blocks[0].frames, (std::vector<std::vector<uint8_t>>{{0, 0, 0, 3, 5, 5, 5}}));
  EXPECT_TRUE(blocks[0].key);
  EXPECT_FALSE(blocks[1].key);
}

// Duration is the latest start + duration of any sample, here a long audio
// sample; the single-stream rule would give the sum of audio durations.
TEST_F(MultiStreamFileTest, DurationIsTheLatestSampleEnd) {
  {
    MultiFile file(WidePath(u"duration.mkv"), {{2, 0, "VP9 "}, {3, 1, "VBIS"}});
    for (int i = 0; i < 10; ++i) file.Video(0, {0x82, 0x49}, i * 40, i == 0);
    file.Audio(1, {1}, 0, 300);
    file.Audio(1, {1}, 500, 250);
    file.Audio(7, {1}, 100, 600);  // no track, still counts
  }
  const test::MatroskaFile file = test::ReadMatroskaFile(Path("duration.mkv"));
  EXPECT_EQ(file.doc_type, "matroska");  // VP9 in a Matroska file
  EXPECT_DOUBLE_EQ(file.duration, 750.0);
}

// WebM tracks write SimpleBlocks, unless the VP9 record asks for block
// additions: then BlockGroups carry them.
TEST_F(MultiStreamFileTest, BlockAdditionsTurnWebmBlocksIntoGroups) {
  const std::vector<uint8_t> alpha = {'a', 'l', 'p', 'h', 'a', '!'};
  for (const uint32_t flags : {0U, 1U}) {
    {
      MultiFile file(WidePath(u"alpha.webm"), {{2, 0, "VP9 ", flags}, {3, 1, "VBIS"}}, "WEBM");
      for (int i = 0; i < 6; ++i) file.Video(0, {0x82, 0x49}, i * 40, i == 0, 40, alpha);
      file.Audio(1, {1, 2}, 0);
    }
    const test::MatroskaFile file = test::ReadMatroskaFile(Path("alpha.webm"));
    EXPECT_EQ(file.doc_type, "webm");
    const auto blocks = file.BlocksOfTrack(1);
    ASSERT_EQ(blocks.size(), 6U);
    EXPECT_EQ(blocks[0].simple, flags == 0) << flags;
    const std::string bytes = test::ReadFileBytes(Path("alpha.webm"));
    size_t count = 0;
    for (size_t at = bytes.find("alpha!"); at != std::string::npos;
         at = bytes.find("alpha!", at + 1))
      ++count;
    EXPECT_EQ(count, flags == 0 ? 0U : 6U) << flags;
  }
}

TEST_F(MultiStreamFileTest, ExternalSubtitlesGetATextTrack) {
  const std::string header = "[Script Info]\nScriptType: v4.00+\n";
  {
    MultiFile file(WidePath(u"subs.mkv"), {{3, 0, "AC3 "}, {5, 1, "ASS "}, {5, 2, "SRT "}});
    std::vector<uint8_t> extra = {static_cast<uint8_t>(header.size()), 0, 0, 0};
    extra.insert(extra.end(), header.begin(), header.end());
    file.Extra(1, extra);
    for (int i = 0; i < 6; ++i) file.Audio(0, {1}, i * 100, 100);
    file.Text(1, "0,0,Default,,0,0,0,,Hello", 150, 1200);
    file.Text(2, "Hello", 150, 1200);
  }
  const test::MatroskaFile file = test::ReadMatroskaFile(Path("subs.mkv"));
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 3U);
  EXPECT_EQ(file.tracks[1].type, 17U);
  EXPECT_EQ(file.tracks[1].codec_id, "S_TEXT/ASS");
  EXPECT_EQ(file.tracks[1].codec_private, std::vector<uint8_t>(header.begin(), header.end()));
  EXPECT_EQ(file.tracks[2].codec_id, "S_TEXT/UTF8");
  const auto text = file.BlocksOfTrack(3);
  ASSERT_EQ(text.size(), 1U);
  EXPECT_EQ(text[0].time(), 150);
  EXPECT_EQ(text[0].frames[0], std::vector<uint8_t>({'H', 'e', 'l', 'l', 'o'}));
  EXPECT_DOUBLE_EQ(file.duration, 1350.0);
}

// The same streams through both tables, numbered alike (OutStreamIndex 1 and
// 2 make TrackNumbers 2 and 3, as the single-stream tracks have): the files
// differ only in the EBML header's versions and in the Duration's source.
TEST_F(MultiStreamFileTest, BothTablesDifferOnlyWhereTheRulesSay) {
  MediaFileParams params = Record({2, 0, "I264"});
  std::memcpy(&params.audio.fourcc, "AC3 ", 4);
  std::memcpy(&params.containerFourcc, "MKV ", 4);
  const auto feed = [](auto video, auto audio) {
    for (int i = 0; i < 12; ++i) {
      std::vector<uint8_t> frame = Slice(i % 6 == 0 ? 5 : 1, static_cast<uint8_t>(i));
      std::vector<uint8_t> sound = {static_cast<uint8_t>(i), 7};
      MediaSample v{};
      v.videoData = frame.data();
      v.videoSize = static_cast<int32_t>(frame.size());
      v.keyframe = i % 6 == 0 ? 1 : 0;
      v.start = i * 40 * kMs;
      v.duration = 40 * kMs;
      video(v);
      MediaSample a{};
      a.audioData = sound.data();
      a.audioSize = 2;
      a.start = i * 40 * kMs;
      a.duration = 30 * kMs;
      audio(a);
    }
  };
  platform::ResetCrtRand();
  void* single = CreateMediaFile(WidePath(u"single.mkv").c_str(), &params);
  feed([&](MediaSample& s) { WriteVideoData(single, &s); },
       [&](MediaSample& s) { WriteAudioData(single, &s, nullptr); });
  CloseMediaFile(single);
  platform::ResetCrtRand();
  {
    MultiFile multi(WidePath(u"multi.mkv"), {{2, 1, "I264"}, {3, 2, "AC3 "}});
    feed([&](MediaSample& s) { WriteSampleMultiStream(multi.handle(), 1, &s, nullptr); },
         [&](MediaSample& s) { WriteSampleMultiStream(multi.handle(), 2, &s, nullptr); });
  }
  const std::string a = test::ReadFileBytes(Path("single.mkv"));
  const std::string b = test::ReadFileBytes(Path("multi.mkv"));
  ASSERT_EQ(a.size(), b.size());
  size_t differing = 0;
  for (size_t i = 0; i < a.size(); ++i) differing += a[i] != b[i] ? 1 : 0;
  EXPECT_LE(differing, 6U);  // two version bytes, four of the float
  const test::MatroskaFile x = test::ReadMatroskaFile(Path("single.mkv"));
  const test::MatroskaFile y = test::ReadMatroskaFile(Path("multi.mkv"));
  EXPECT_EQ(x.doc_type_version, 1U);
  EXPECT_EQ(y.doc_type_version, 2U);
  EXPECT_DOUBLE_EQ(x.duration, 360.0);  // the audio durations' sum
  EXPECT_DOUBLE_EQ(y.duration, 480.0);  // the latest end, of the last video frame
  ASSERT_EQ(x.blocks.size(), 24U);
  ASSERT_EQ(y.blocks.size(), 24U);
  EXPECT_EQ(x.cues.size(), y.cues.size());
}

struct InitCase {
  const char* name;
  std::vector<Stream> streams;
  const char* container;
  const char16_t* file;
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
  uint32_t fourcc = 0;
  std::memcpy(&fourcc, c.container, 4);
  const std::u16string path = dir_.WidePath(c.file);
  int32_t result = 0;
  for (int i = 0; i < c.inits; ++i)
    result = InitMediaFileMultiStream(handle, fourcc, path.c_str(), 0);
  CloseMediaFileMultiStream(handle);
  const std::string log = log_.Text();
  const std::string expected =
      std::string("kx_mkv: InitMediaFileMultiStream ") + c.last_line + ",file fourcc =[" +
      c.container + "] ,filename =[" +
      (dir_.path() / std::string(c.file, c.file + std::char_traits<char16_t>::length(c.file)))
          .string() +
      "]\nkx_mkv: CloseMediaFileMultiStream \n";
  ASSERT_GE(log.size(), expected.size()) << log;
  EXPECT_EQ(log.substr(log.size() - expected.size()), expected) << log;
  EXPECT_EQ(result, std::string(c.last_line) == "Success" ? 1 : 0);
  EXPECT_EQ(std::filesystem::exists(dir_.path() / "a.mkv")
                ? std::filesystem::file_size(dir_.path() / "a.mkv")
                : 0U,
            0U);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, InitTest,
    ::testing::Values(InitCase{"Opened", {{3, 0, "AAC "}}, "MKA ", u"a.mkv", 1, "Success"},
                      InitCase{"UnknownFourCC", {{3, 0, "AAC "}}, "AVI ", u"a.mkv", 1, "Failed"},
                      InitCase{"NoStreams", {}, "MKV ", u"a.mkv", 1, "Failed"},
                      InitCase{"SecondInit", {{3, 0, "AAC "}}, "WEBM", u"a.mkv", 2, "Failed"},
                      InitCase{
                          "Unopenable", {{2, 0, "HEVC"}}, "MKV ", u"no/dir/a.mkv", 1, "Failed"}),
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
