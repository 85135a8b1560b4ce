// Real streams made with ffmpeg, cut into packets where ffprobe says they
// are, written through the single-stream function table as a host drives it
// and read back by ffprobe, mkvinfo, an ffmpeg decode and libwebm's parser.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "src/platform/utf16.h"
#include "tests/support/matroska_file.h"
#include "tests/support/nal_units.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"
#include "tests/support/tools.h"

namespace kx::test {
namespace {

struct Frame {
  Bytes data;
  int64_t start = 0;  // 100-ns units
  bool key = true;
};

int64_t Ms(int64_t ticks) { return (ticks + 5000) / 10000; }

const std::string kVideo = "-f lavfi -i testsrc2=size=320x240:rate=25 -t 2 -pix_fmt yuv420p ";
const std::string kAudio = "-f lavfi -i sine=sample_rate=48000 -t 2 ";
const std::string kX264 = "-c:v libx264 -bf 0 -g 12 -f h264 -x264-params aud=1";
// clang-format off
const std::map<std::string, std::pair<std::string, double>> kSources = {  // ffmpeg, frame length
    {"h264", {kVideo + kX264, 0.04}},
    {"h264slices", {kVideo + kX264 + ":slices=2", 0.04}},
    {"vp9", {kVideo + "-c:v libvpx-vp9 -deadline realtime -g 12 -f ivf", 0.04}},
    {"aac", {kAudio + "-c:a aac -f adts", 1024.0 / 48000}},
    {"mp3", {kAudio + "-c:a libmp3lame -write_xing 0 -id3v2_version 0 -f mp3", 1152.0 / 48000}},
    {"ac3", {kAudio + "-c:a ac3 -f ac3", 1536.0 / 48000}}};
// clang-format on

// Makes the source with ffmpeg and cuts it where ffprobe finds its packets.
// H.264 gets 4-byte start codes, as hosts send it; ADTS headers are taken
// off and give the AudioSpecificConfig.
std::vector<Frame> Make(const std::string& name, const TempDir& dir, Bytes* config) {
  const auto& [ffmpeg, frame_seconds] = kSources.at(name);
  const std::string path = dir.Path(name + ".src");
  std::vector<Frame> frames;
  if (!MakeWithFfmpeg(ffmpeg, path)) return frames;
  const std::string bytes = ReadFileBytes(path);
  for (const ProbedPacket& packet : ProbePackets(path, "0")) {
    const int64_t at = packet.pos + (name == "vp9" ? 12 : 0);  // IVF frame header
    Frame& frame = frames.emplace_back();
    frame.data.assign(bytes.begin() + at, bytes.begin() + at + packet.size);
    frame.start = std::llround(static_cast<double>(frames.size() - 1) * frame_seconds * 1e7);
    frame.key = packet.key;
    if (name.compare(0, 4, "h264") == 0) {
      frame.data = JoinUnits(NalUnits(frame.data), true);
    }
    if (name == "aac") {
      const Bytes& h = frame.data;
      const int asc = (((h[2] >> 6) + 1) << 11) | (((h[2] >> 2) & 0xF) << 7) |
                      (((h[2] & 1) << 2 | h[3] >> 6) << 3);
      *config = {static_cast<uint8_t>(asc >> 8), static_cast<uint8_t>(asc)};
      frame.data.erase(frame.data.begin(), frame.data.begin() + ((h[1] & 1) != 0 ? 7 : 9));
    }
  }
  return frames;
}

struct Case {
  const char* name;
  const char* container;
  const char* video_fourcc;  // null: no video
  const char* video;
  const char* audio_fourcc;  // null: no audio
  const char* audio;
  bool late_configuration;  // after the first flush
};
void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

// The blocks a video path makes of one access unit: the conversion path
// (H264) keeps slices, parameter sets and delimiters in one block; the
// NAL-unit path (I264) makes one block per slice, key when it is an IDR.
std::vector<Frame> VideoBlocks(const std::string& fourcc, const Frame& frame) {
  if (fourcc != "H264" && fourcc != "I264") return {frame};
  std::vector<Frame> blocks;
  Frame converted{{}, frame.start, frame.key};
  for (const Bytes& unit : NalUnits(frame.data)) {
    const int type = unit[0] & 0x1F;
    if (fourcc == "H264" && (type == 1 || type == 5 || type == 7 || type == 8 || type == 9)) {
      const Bytes prefixed = JoinUnits({unit}, false);
      converted.data.insert(converted.data.end(), prefixed.begin(), prefixed.end());
    }
    if (fourcc == "I264" && (type == 1 || type == 5)) {
      blocks.push_back({JoinUnits({unit}, false), frame.start, type == 5});
    }
  }
  if (fourcc == "H264") blocks.push_back(converted);
  return blocks;
}

// One track's blocks against the expected frames, through libwebm and
// ffprobe: data, time, key flags.
void ExpectTrack(const MatroskaFile& file, const std::string& path, uint64_t track,
                 const std::vector<Frame>& expected) {
  SCOPED_TRACE("track " + std::to_string(track));
  const auto blocks = file.BlocksOfTrack(track);
  const auto packets = ProbePackets(path, track == 2 ? "v:0" : "a:0");
  ASSERT_EQ(blocks.size(), expected.size());
  ASSERT_EQ(packets.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    const Frame& e = expected[i];
    EXPECT_TRUE(blocks[i].frames.at(0) == e.data) << "block " << i;
    EXPECT_EQ(blocks[i].time(), Ms(e.start)) << "block " << i;
    EXPECT_EQ(packets[i].pts, Ms(e.start)) << "packet " << i;
    EXPECT_EQ(packets[i].size, static_cast<int64_t>(e.data.size())) << "packet " << i;
    EXPECT_EQ(packets[i].key, e.key) << "packet " << i;
    // The container's flag (no ReferenceBlock): FFmpeg's reads the stream's
    // own. A key frame at its predecessor's start refers to it.
    const bool key = i == 0 || (e.key && expected[i - 1].start != e.start);
    EXPECT_EQ(blocks[i].key, key) << "block " << i;
  }
}

class SingleStreamFileTest : public ::testing::TestWithParam<Case> {};

TEST_P(SingleStreamFileTest, ReadersGetBackWhatTheHostWrote) {
  KX_REQUIRE_TOOLS("ffmpeg", "ffprobe", "mkvinfo");
  const Case& c = GetParam();
  const TempDir dir;
  Bytes asc;
  const auto video = c.video_fourcc != nullptr ? Make(c.video, dir, nullptr) : std::vector<Frame>{};
  const auto audio = c.audio_fourcc != nullptr ? Make(c.audio, dir, &asc) : std::vector<Frame>{};
  ASSERT_EQ(video.empty(), c.video_fourcc == nullptr);
  ASSERT_EQ(audio.empty(), c.audio_fourcc == nullptr);
  Bytes sps;
  Bytes pps;
  for (const Bytes& unit : video.empty() ? std::vector<Bytes>{} : NalUnits(video[0].data)) {
    if ((unit[0] & 0x1F) == 7) sps = unit;
    if ((unit[0] & 0x1F) == 8) pps = unit;
  }

  const std::string path = dir.Path("out.mkv");
  TableFile file(Row(c.container), platform::Utf8ToUtf16(path),
                 FileParams(c.container, c.video_fourcc, 320, 240, 25, c.audio_fourcc, 48000, 1));
  ASSERT_TRUE(file.ok());
  const auto configure = [&] {
    if (!sps.empty()) file.VideoExtra(sps, pps);
    if (!asc.empty()) file.AudioExtra(asc);
  };
  if (!c.late_configuration) configure();
  for (size_t v = 0, a = 0; v < video.size() || a < audio.size();) {
    if (v == 10 && c.late_configuration) configure();
    if (a == audio.size() || (v < video.size() && video[v].start <= audio[a].start)) {
      EXPECT_GT(file.Video(video[v].data, video[v].start, 400000, video[v].key), 0) << v;
      ++v;
    } else {
      EXPECT_EQ(file.Audio(audio[a].data, audio[a].start, 213333), int(audio[a].data.size()));
      ++a;
    }
  }
  EXPECT_EQ(file.Close(), 0);

  EXPECT_EQ(ReaderComplaints(path), "");
  // One block per slice is the I264 path's rule; FFmpeg's decoder wants
  // whole pictures, so that file is not decoded.
  if (c.video_fourcc == nullptr || std::string(c.video_fourcc) != "I264") {
    std::string decoded;
    EXPECT_EQ(RunCommand("ffmpeg -nostdin -v error -i '" + path + "' -f null -", &decoded), 0);
    EXPECT_EQ(decoded.substr(0, 2000), "");
  }
  const MatroskaFile read = ReadMatroskaFile(path);
  ASSERT_TRUE(read.parsed);
  if (!sps.empty()) {
    // The AVC record: version 1, profile, compatibility and level from the
    // SPS, 4-byte lengths, one SPS, one PPS.
    Bytes record = {
        1, sps[1], sps[2], sps[3], 0xFF, 0xE1, uint8_t(sps.size() >> 8), uint8_t(sps.size())};
    record.insert(record.end(), sps.begin(), sps.end());
    record.insert(record.end(), {1, uint8_t(pps.size() >> 8), uint8_t(pps.size())});
    record.insert(record.end(), pps.begin(), pps.end());
    if (c.late_configuration) record.resize(1024);
    EXPECT_EQ(read.Track(2)->codec_private, record);
  }
  if (!video.empty()) {
    std::vector<Frame> expected;
    for (const Frame& frame : video) {
      for (Frame& block : VideoBlocks(c.video_fourcc, frame)) expected.push_back(std::move(block));
    }
    ExpectTrack(read, path, 2, expected);
  }
  if (!audio.empty()) {
    if (c.late_configuration) asc.resize(1024);
    if (!asc.empty()) EXPECT_EQ(read.Track(3)->codec_private, asc);
    ExpectTrack(read, path, 3, audio);
  }
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, SingleStreamFileTest, ::testing::Values(
    Case{"H264Aac", "MKV ", "H264", "h264", "AAC ", "aac", false},
    Case{"I264SlicesAacLateConfiguration", "KMKV", "I264", "h264slices", "AAC ", "aac", true},
    Case{"H264Mp3", "MKV ", "H264", "h264", "MP3 ", "mp3", false},
    Case{"H264Ac3", "HMKV", "H264", "h264", "AC3 ", "ac3", false},
    Case{"Vp9Ac3", "MKV ", "VP9 ", "vp9", "AC3 ", "ac3", false},
    Case{"AacOnly", "MKA ", nullptr, "", "AAC ", "aac", false},
    Case{"H264Only", "MKV ", "H264", "h264", nullptr, "", false}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

}  // namespace
}  // namespace kx::test
