// Whole files written through the single-stream function table, as a host
// drives it, then read back by real readers (ffprobe, mkvinfo) and by
// libwebm's parser.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "src/platform/utf16.h"
#include "tests/e2e/media_util.h"
#include "tests/support/matroska_file.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

constexpr double kFps = 25;
constexpr int64_t kTicksPerMs = 10000;

std::vector<uint8_t> Load(const std::string& path) {
  const std::string bytes = ReadFileBytes(path);
  return {bytes.begin(), bytes.end()};
}

class SingleStreamFileTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    ASSERT_EQ(RunCommand("ffmpeg -version >/dev/null && ffprobe -version >/dev/null && "
                         "mkvinfo --version >/dev/null"),
              0)
        << "ffmpeg, ffprobe and mkvinfo are needed";
    const std::string video = "-f lavfi -i testsrc2=size=320x240:rate=25 -t 3 -pix_fmt yuv420p ";
    const std::string audio = "-f lavfi -i sine=frequency=440:sample_rate=48000 -t 3 ";
    ASSERT_TRUE(MakeWithFfmpeg(video + "-c:v libx264 -bf 0 -g 25 -x264-params aud=1 -f h264",
                               TempPath("video.h264")));
    // Two slices per picture, for the NAL-unit path's one-block-per-slice rule.
    ASSERT_TRUE(
        MakeWithFfmpeg(video + "-c:v libx264 -bf 0 -g 25 -x264-params aud=1:slices=2 -f h264",
                       TempPath("video_slices.h264")));
    ASSERT_TRUE(MakeWithFfmpeg(video + "-c:v libvpx-vp9 -deadline realtime -g 25 -f ivf",
                               TempPath("video.ivf")));
    ASSERT_TRUE(MakeWithFfmpeg(audio + "-c:a aac -b:a 96k -f adts", TempPath("audio.aac")));
    ASSERT_TRUE(
        MakeWithFfmpeg(audio + "-c:a libmp3lame -b:a 128k -write_xing 0 -id3v2_version 0 -f mp3",
                       TempPath("audio.mp3")));
    ASSERT_TRUE(MakeWithFfmpeg(audio + "-c:a ac3 -b:a 192k -f ac3", TempPath("audio.ac3")));
  }

  static std::string Output(const std::string& name) { return TempPath(name); }

  // Writes the file and checks what every reader must accept.
  static void WriteAndValidate(const char (&container)[5], const std::string& name,
                               const MediaFileParams& params, const Feed& feed) {
    const std::string path = Output(name);
    std::filesystem::remove(path);
    ASSERT_TRUE(WriteFile(Row(container), platform::Utf8ToUtf16(path), params, feed));
    std::string output;
    EXPECT_EQ(RunCommand("ffprobe -v error -show_format -show_streams '" + path + "' >/dev/null",
                         &output),
              0);
    EXPECT_EQ(output, "") << "ffprobe complained about " << name;
    EXPECT_EQ(RunCommand("mkvinfo '" + path + "'", &output), 0) << output;
    EXPECT_EQ(output.find("Error"), std::string::npos) << output;
    EXPECT_EQ(output.find("Warning"), std::string::npos) << output;
  }
};

// Size of an access unit after the conversion path: each kept unit (types 1,
// 5, 7, 8, 9) with a 4-byte length instead of its start code.
int64_t ConvertedSize(const std::vector<uint8_t>& access_unit) {
  int64_t size = 0;
  for (const NalUnit& unit : AnnexBUnits(access_unit)) {
    const int type = unit.end > unit.begin ? access_unit[unit.begin] & 0x1F : 0;
    if (type == 1 || type == 5 || type == 7 || type == 8 || type == 9) {
      size += static_cast<int64_t>(unit.end - unit.begin) + 4;
    }
  }
  return size;
}

// Slices of an access unit: the frames the NAL-unit path makes.
std::vector<std::vector<uint8_t>> Slices(const std::vector<uint8_t>& access_unit) {
  std::vector<std::vector<uint8_t>> slices;
  for (const NalUnit& unit : AnnexBUnits(access_unit)) {
    const int type = unit.end > unit.begin ? access_unit[unit.begin] & 0x1F : 0;
    if (type != 1 && type != 5) continue;
    const auto length = static_cast<uint32_t>(unit.end - unit.begin);
    std::vector<uint8_t> slice = {static_cast<uint8_t>(length >> 24),
                                  static_cast<uint8_t>(length >> 16),
                                  static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
    slice.insert(slice.end(), access_unit.begin() + static_cast<std::ptrdiff_t>(unit.begin),
                 access_unit.begin() + static_cast<std::ptrdiff_t>(unit.end));
    slices.push_back(std::move(slice));
  }
  return slices;
}

int64_t Ms(int64_t ticks) { return (ticks + 5000) / kTicksPerMs; }

void ExpectAudioPacketsMatch(const std::string& path, const std::vector<Sample>& audio) {
  const auto packets = ProbePackets(path, "a:0");
  ASSERT_EQ(packets.size(), audio.size());
  for (size_t i = 0; i < audio.size(); ++i) {
    EXPECT_EQ(packets[i].size, static_cast<int64_t>(audio[i].data.size())) << i;
    EXPECT_EQ(packets[i].pts_ms, Ms(audio[i].start) - Ms(audio[0].start)) << i;
  }
}

TEST_F(SingleStreamFileTest, H264AnnexBWithAacKeepsParameterSetsInBlocks) {
  Feed feed;
  const auto stream = Load(TempPath("video.h264"));
  feed.video = SplitH264AccessUnits(stream, kFps);
  FindH264ParameterSets(stream, &feed.sps, &feed.pps);
  feed.audio = SplitAdts(Load(TempPath("audio.aac")), &feed.audio_config);
  ASSERT_EQ(feed.video.size(), 75U);
  const auto params = VideoAudioParams("MKV ", "H264", 320, 240, kFps, "AAC ", 48000, 1);
  WriteAndValidate("MKV ", "h264_aac.mkv", params, feed);

  const std::string path = Output("h264_aac.mkv");
  const auto packets = ProbePackets(path, "v:0");
  ASSERT_EQ(packets.size(), feed.video.size());
  for (size_t i = 0; i < packets.size(); ++i) {
    EXPECT_EQ(packets[i].size, ConvertedSize(feed.video[i].data)) << i;
    EXPECT_EQ(packets[i].pts_ms, Ms(feed.video[i].start)) << i;
    EXPECT_EQ(packets[i].key, feed.video[i].key) << i;
  }
  ExpectAudioPacketsMatch(path, feed.audio);

  const MatroskaFile file = ReadMatroskaFile(path);
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.doc_type, "matroska");
  ASSERT_NE(file.Track(2), nullptr);
  ASSERT_NE(file.Track(3), nullptr);
  // Extra data before the first flush: CodecPrivate has exactly its size.
  EXPECT_EQ(file.Track(3)->codec_private, feed.audio_config);
  EXPECT_EQ(file.Track(2)->codec_private.size(), feed.sps.size() + feed.pps.size() + 11);
  EXPECT_FALSE(file.cues.empty());
  for (const CueInfo& cue : file.cues) EXPECT_EQ(cue.track, 2U);
}

TEST_F(SingleStreamFileTest, I264SplitsSlicesAndPatchesLateExtraData) {
  Feed feed;
  const auto stream = Load(TempPath("video_slices.h264"));
  feed.video = SplitH264AccessUnits(stream, kFps);
  FindH264ParameterSets(stream, &feed.sps, &feed.pps);
  feed.audio = SplitAdts(Load(TempPath("audio.aac")), &feed.audio_config);
  feed.extra_data_after_first_flush = true;
  const auto params = VideoAudioParams("KMKV", "I264", 320, 240, kFps, "AAC ", 48000, 1);
  WriteAndValidate("KMKV", "i264_aac.mkv", params, feed);

  const std::string path = Output("i264_aac.mkv");
  const MatroskaFile file = ReadMatroskaFile(path);
  ASSERT_TRUE(file.parsed);
  // Late extra data lands in the 1024-byte reservations.
  ASSERT_NE(file.Track(3), nullptr);
  ASSERT_EQ(file.Track(3)->codec_private.size(), 1024U);
  EXPECT_TRUE(std::equal(feed.audio_config.begin(), feed.audio_config.end(),
                         file.Track(3)->codec_private.begin()));
  ASSERT_EQ(file.Track(2)->codec_private.size(), 1024U);
  EXPECT_EQ(file.Track(2)->codec_private[0], 1);
  EXPECT_EQ(file.Track(2)->codec_private[5], 0xE1);

  // One block per slice, parameter sets and delimiters gone, all with the
  // picture's time.
  std::vector<std::vector<uint8_t>> expected;
  std::vector<int64_t> times;
  for (const Sample& sample : feed.video) {
    for (auto& slice : Slices(sample.data)) {
      expected.push_back(std::move(slice));
      times.push_back(Ms(sample.start));
    }
  }
  ASSERT_GT(expected.size(), feed.video.size());
  const auto blocks = file.BlocksOfTrack(2);
  ASSERT_EQ(blocks.size(), expected.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    ASSERT_EQ(blocks[i].frames.size(), 1U);
    EXPECT_EQ(blocks[i].frames[0], expected[i]) << i;
    EXPECT_EQ(blocks[i].time(), times[i]) << i;
  }
}

TEST_F(SingleStreamFileTest, Mp3AndAc3Audio) {
  const auto stream = Load(TempPath("video.h264"));
  const struct {
    const char (&container)[5];
    const char (&audio)[5];
    const char* name;
    std::vector<Sample> frames;
  } cases[] = {{"MKV ", "MP3 ", "h264_mp3.mkv", SplitMp3(Load(TempPath("audio.mp3")))},
               {"HMKV", "AC3 ", "h264_ac3.mkv", SplitAc3(Load(TempPath("audio.ac3")))}};
  for (const auto& c : cases) {
    Feed feed;
    feed.video = SplitH264AccessUnits(stream, kFps);
    FindH264ParameterSets(stream, &feed.sps, &feed.pps);
    feed.audio = c.frames;
    ASSERT_GT(feed.audio.size(), 50U) << c.name;
    const auto params = VideoAudioParams(c.container, "H264", 320, 240, kFps, c.audio, 48000, 1);
    WriteAndValidate(c.container, c.name, params, feed);
    ExpectAudioPacketsMatch(Output(c.name), feed.audio);
  }
}

TEST_F(SingleStreamFileTest, Vp9InMatroskaIsWebmDocType) {
  Feed feed;
  feed.video = ReadIvf(Load(TempPath("video.ivf")), true);
  feed.audio = SplitAc3(Load(TempPath("audio.ac3")));
  ASSERT_FALSE(feed.video.empty());
  const auto params = VideoAudioParams("MKV ", "VP9 ", 320, 240, kFps, "AC3 ", 48000, 1);
  WriteAndValidate("MKV ", "vp9_ac3.mkv", params, feed);
  const std::string path = Output("vp9_ac3.mkv");
  const MatroskaFile file = ReadMatroskaFile(path);
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.doc_type, "webm");
  const auto blocks = file.BlocksOfTrack(2);
  ASSERT_EQ(blocks.size(), feed.video.size());
  for (size_t i = 0; i < blocks.size(); ++i) {
    EXPECT_EQ(blocks[i].frames[0], feed.video[i].data) << i;
    EXPECT_EQ(blocks[i].time(), Ms(feed.video[i].start)) << i;
  }
  const auto packets = ProbePackets(path, "v:0");
  ASSERT_EQ(packets.size(), feed.video.size());
}

TEST_F(SingleStreamFileTest, AudioOnlyMka) {
  Feed feed;
  feed.audio = SplitAdts(Load(TempPath("audio.aac")), &feed.audio_config);
  auto params = VideoAudioParams("MKA ", "\0\0\0\0", 0, 0, 0, "AAC ", 48000, 1);
  params.noVideo = 1;
  WriteAndValidate("MKA ", "aac.mka", params, feed);
  const std::string path = Output("aac.mka");
  ExpectAudioPacketsMatch(path, feed.audio);
  const MatroskaFile file = ReadMatroskaFile(path);
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 1U);
  EXPECT_EQ(file.tracks[0].number, 3U);
  EXPECT_EQ(file.tracks[0].codec_id, "A_AAC");
}

TEST_F(SingleStreamFileTest, VideoWithoutAudio) {
  Feed feed;
  const auto stream = Load(TempPath("video.h264"));
  feed.video = SplitH264AccessUnits(stream, kFps);
  FindH264ParameterSets(stream, &feed.sps, &feed.pps);
  auto params = VideoAudioParams("MKV ", "H264", 320, 240, kFps, "\0\0\0\0", 0, 0);
  params.noAudio = 1;
  WriteAndValidate("MKV ", "h264_only.mkv", params, feed);
  const MatroskaFile file = ReadMatroskaFile(Output("h264_only.mkv"));
  ASSERT_TRUE(file.parsed);
  ASSERT_EQ(file.tracks.size(), 1U);
  EXPECT_EQ(file.BlocksOfTrack(2).size(), feed.video.size());
  // Without audio the duration is the last block's start plus one.
  EXPECT_NEAR(file.duration, 74 * 40 + 1, 0.01);
}

}  // namespace
}  // namespace kx::test
