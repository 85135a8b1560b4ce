// Real streams made with ffmpeg, cut into packets where ffprobe says they
// are, written through the single-stream function table as a host drives it
// and read back by ffprobe, mkvinfo, an ffmpeg decode and libwebm's parser.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "src/platform/utf16.h"
#include "tests/support/matroska_file.h"
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

// The payloads of an Annex B buffer's NAL units, without start codes.
std::vector<Bytes> NalUnits(const Bytes& s) {
  std::vector<Bytes> units;
  size_t begin = 0;
  for (size_t i = 0; i + 3 <= s.size(); ++i) {
    if (s[i] != 0 || s[i + 1] != 0 || s[i + 2] != 1) continue;
    if (begin != 0) units.emplace_back(s.begin() + begin, s.begin() + (s[i - 1] == 0 ? i - 1 : i));
    begin = i + 3;
  }
  if (begin != 0) units.emplace_back(s.begin() + begin, s.end());
  return units;
}

void AppendLengthPrefixed(Bytes& out, const Bytes& unit) {
  const auto n = static_cast<uint32_t>(unit.size());
  out.insert(out.end(), {static_cast<uint8_t>(n >> 24), static_cast<uint8_t>(n >> 16),
                         static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)});
  out.insert(out.end(), unit.begin(), unit.end());
}

struct Source {
  const char* name;
  const char* ffmpeg;  // input and encoder options
  double frame_seconds;
};
const Source kSources[] = {
    {"h264",
     "-f lavfi -i testsrc2=size=320x240:rate=25 -t 2 -pix_fmt yuv420p -c:v libx264 "
     "-bf 0 -g 12 -x264-params aud=1 -f h264",
     0.04},
    {"h264slices",
     "-f lavfi -i testsrc2=size=320x240:rate=25 -t 2 -pix_fmt yuv420p -c:v "
     "libx264 -bf 0 -g 12 -x264-params aud=1:slices=2 -f h264",
     0.04},
    {"vp9",
     "-f lavfi -i testsrc2=size=320x240:rate=25 -t 2 -c:v libvpx-vp9 -deadline "
     "realtime -g 12 -f ivf",
     0.04},
    {"aac", "-f lavfi -i sine=frequency=440:sample_rate=48000 -t 2 -c:a aac -f adts",
     1024.0 / 48000},
    {"mp3",
     "-f lavfi -i sine=frequency=440:sample_rate=48000 -t 2 -c:a libmp3lame "
     "-write_xing 0 -id3v2_version 0 -f mp3",
     1152.0 / 48000},
    {"ac3", "-f lavfi -i sine=frequency=440:sample_rate=48000 -t 2 -c:a ac3 -f ac3",
     1536.0 / 48000},
};

struct Stream {
  std::vector<Frame> frames;
  Bytes config;  // AudioSpecificConfig of ADTS input
};

// Makes the source with ffmpeg and cuts it where ffprobe finds its packets;
// ADTS headers are taken off and give the AudioSpecificConfig.
Stream Make(const std::string& name, const TempDir& dir) {
  const Source& source = *std::find_if(std::begin(kSources), std::end(kSources),
                                       [&](const Source& s) { return name == s.name; });
  const std::string path = dir.Path(name + ".src");
  Stream stream;
  if (!MakeWithFfmpeg(source.ffmpeg, path)) return stream;
  const std::string bytes = ReadFileBytes(path);
  for (const ProbedPacket& packet : ProbePackets(path, "0")) {
    Frame frame;
    const int64_t at = packet.pos + (name == "vp9" ? 12 : 0);  // IVF frame header
    frame.data.assign(bytes.begin() + at, bytes.begin() + at + packet.size);
    if (name.compare(0, 4, "h264") == 0) {  // as hosts send it: 4-byte start codes
      Bytes annex_b;
      for (const Bytes& unit : NalUnits(frame.data)) {
        annex_b.insert(annex_b.end(), {0, 0, 0, 1});
        annex_b.insert(annex_b.end(), unit.begin(), unit.end());
      }
      frame.data = annex_b;
    }
    frame.start =
        std::llround(static_cast<double>(stream.frames.size()) * source.frame_seconds * 1e7);
    frame.key = packet.key;
    if (name == "aac") {
      const Bytes& h = frame.data;
      const int asc = (((h[2] >> 6) + 1) << 11) | (((h[2] >> 2) & 0xF) << 7) |
                      (((h[2] & 1) << 2 | h[3] >> 6) << 3);
      stream.config = {static_cast<uint8_t>(asc >> 8), static_cast<uint8_t>(asc)};
      frame.data.erase(frame.data.begin(), frame.data.begin() + ((h[1] & 1) != 0 ? 7 : 9));
    }
    stream.frames.push_back(std::move(frame));
  }
  return stream;
}

struct Case {
  const char* name;
  const char* container;
  const char* video_fourcc;  // null: no video
  const char* video;
  const char* audio_fourcc;  // null: no audio
  const char* audio;
  bool late_extra;  // configuration after the first flush
  const char* doc_type;
  const char* video_codec;
  const char* audio_codec;
};

// The blocks a video path makes of one access unit: the conversion path
// keeps slices, parameter sets and delimiters in one block; the NAL-unit
// path makes one block per slice, key when it is an IDR slice.
std::vector<Frame> VideoBlocks(const Case& c, const Frame& frame) {
  const std::string fourcc = c.video_fourcc;
  if (fourcc != "H264" && fourcc != "I264") return {frame};
  std::vector<Frame> blocks;
  Frame converted{{}, frame.start, frame.key};
  for (const Bytes& unit : NalUnits(frame.data)) {
    const int type = unit.empty() ? 0 : unit[0] & 0x1F;
    if (fourcc == "H264" && (type == 1 || type == 5 || type == 7 || type == 8 || type == 9)) {
      AppendLengthPrefixed(converted.data, unit);
    }
    if (fourcc == "I264" && (type == 1 || type == 5)) {
      blocks.push_back({{}, frame.start, type == 5});
      AppendLengthPrefixed(blocks.back().data, unit);
    }
  }
  if (fourcc == "H264") blocks.push_back(converted);
  return blocks;
}

Bytes AvcRecord(const Bytes& sps, const Bytes& pps) {
  Bytes record = {1, sps[1], sps[2], sps[3], 0xFF, 0xE1};
  record.insert(record.end(),
                {static_cast<uint8_t>(sps.size() >> 8), static_cast<uint8_t>(sps.size())});
  record.insert(record.end(), sps.begin(), sps.end());
  record.insert(record.end(),
                {1, static_cast<uint8_t>(pps.size() >> 8), static_cast<uint8_t>(pps.size())});
  record.insert(record.end(), pps.begin(), pps.end());
  return record;
}

// The blocks of one track against the expected frames, through libwebm and
// ffprobe: data, time, key flag and, for video, ReferenceBlock.
void ExpectTrack(const MatroskaFile& file, const std::string& path, uint64_t track,
                 const std::vector<Frame>& expected) {
  const auto blocks = file.BlocksOfTrack(track);
  const auto packets = ProbePackets(path, track == 2 ? "v:0" : "a:0");
  ASSERT_EQ(blocks.size(), expected.size()) << "track " << track;
  ASSERT_EQ(packets.size(), expected.size()) << "track " << track;
  for (size_t i = 0; i < expected.size(); ++i) {
    const Frame& e = expected[i];
    // A key frame at its predecessor's start refers to it (ReferenceBlock 0).
    const bool refers = i > 0 && (!e.key || expected[i - 1].start == e.start);
    ASSERT_EQ(blocks[i].frames.size(), 1U);
    EXPECT_TRUE(blocks[i].frames[0] == e.data) << "track " << track << " block " << i;
    EXPECT_EQ(blocks[i].time(), Ms(e.start)) << "track " << track << " block " << i;
    EXPECT_EQ(packets[i].pts, Ms(e.start)) << "track " << track << " packet " << i;
    EXPECT_EQ(packets[i].size, static_cast<int64_t>(e.data.size())) << i;
    EXPECT_EQ(packets[i].key, e.key) << "track " << track << " packet " << i;
    if (track == 2 && i > 0) {
      const int64_t d = expected[i - 1].start - e.start;
      const std::vector<int64_t> refs{d >= 0 ? (d + 5000) / 10000 : (d - 5000) / 10000};
      EXPECT_EQ(blocks[i].references, refers ? refs : std::vector<int64_t>{}) << "block " << i;
    }
  }
}

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

class SingleStreamFileTest : public ::testing::TestWithParam<Case> {};

TEST_P(SingleStreamFileTest, ReadersGetBackWhatTheHostWrote) {
  KX_REQUIRE_TOOLS("ffmpeg", "ffprobe", "mkvinfo");
  const Case& c = GetParam();
  TempDir dir;
  const Stream video = c.video_fourcc != nullptr ? Make(c.video, dir) : Stream{};
  const Stream audio = c.audio_fourcc != nullptr ? Make(c.audio, dir) : Stream{};
  ASSERT_EQ(video.frames.empty(), c.video_fourcc == nullptr);
  ASSERT_EQ(audio.frames.empty(), c.audio_fourcc == nullptr);
  Bytes sps;
  Bytes pps;
  if (!video.frames.empty()) {
    for (const Bytes& unit : NalUnits(video.frames[0].data)) {
      if ((unit[0] & 0x1F) == 7) sps = unit;
      if ((unit[0] & 0x1F) == 8) pps = unit;
    }
  }

  const std::string path = dir.Path("out.mkv");
  const MediaFileParams params =
      FileParams(c.container, c.video_fourcc, 320, 240, 25, c.audio_fourcc, 48000, 1);
  TableFile file(Row(c.container), platform::Utf8ToUtf16(path), params);
  ASSERT_TRUE(file.ok());
  const auto configure = [&] {
    if (!sps.empty()) file.VideoExtra(sps, pps);
    if (!audio.config.empty()) file.AudioExtra(audio.config);
  };
  if (!c.late_extra) configure();
  size_t v = 0;
  size_t a = 0;
  while (v < video.frames.size() || a < audio.frames.size()) {
    if (v == 10 && c.late_extra) configure();
    const bool take_video =
        a == audio.frames.size() ||
        (v < video.frames.size() && video.frames[v].start <= audio.frames[a].start);
    if (take_video) {
      const Frame& f = video.frames[v++];
      EXPECT_GT(file.Video(f.data, f.start, 400000, f.key), 0) << v;
    } else {
      const Frame& f = audio.frames[a++];
      EXPECT_EQ(file.Audio(f.data, f.start, 213333), static_cast<int32_t>(f.data.size())) << a;
    }
  }
  EXPECT_EQ(file.Close(), 0);

  EXPECT_EQ(ReaderComplaints(path), "");
  // One block per slice is this path's rule; FFmpeg's decoder wants whole
  // pictures, so that file is not decoded.
  if (std::string(c.video_fourcc != nullptr ? c.video_fourcc : "") != "I264") {
    std::string decoded;
    EXPECT_EQ(RunCommand("ffmpeg -nostdin -v error -i '" + path + "' -f null -", &decoded), 0);
    EXPECT_EQ(decoded.substr(0, 2000), "");
  }
  const MatroskaFile read = ReadMatroskaFile(path);
  ASSERT_TRUE(read.parsed);
  EXPECT_EQ(read.doc_type, c.doc_type);
  if (c.video_fourcc != nullptr) {
    ASSERT_NE(read.Track(2), nullptr);
    EXPECT_EQ(read.Track(2)->codec_id, c.video_codec);
    if (!sps.empty()) {
      Bytes record = AvcRecord(sps, pps);
      if (c.late_extra) record.resize(1024);
      EXPECT_EQ(read.Track(2)->codec_private, record);
    }
    std::vector<Frame> expected;
    for (const Frame& frame : video.frames) {
      for (Frame& block : VideoBlocks(c, frame)) expected.push_back(std::move(block));
    }
    ExpectTrack(read, path, 2, expected);
    ASSERT_FALSE(read.cues.empty());
    for (const CueInfo& cue : read.cues) {
      const auto blocks = read.BlocksOfTrack(2);
      EXPECT_TRUE(std::any_of(blocks.begin(), blocks.end(),
                              [&](const BlockInfo& b) {
                                return b.key && b.time() == static_cast<int64_t>(cue.time) &&
                                       b.cluster_position ==
                                           cue.cluster_position + read.segment_data_position;
                              }))
          << "cue at " << cue.time;
    }
  }
  if (c.audio_fourcc != nullptr) {
    ASSERT_NE(read.Track(3), nullptr);
    EXPECT_EQ(read.Track(3)->codec_id, c.audio_codec);
    if (!audio.config.empty()) {
      Bytes config = audio.config;
      if (c.late_extra) config.resize(1024);
      EXPECT_EQ(read.Track(3)->codec_private, config);
    }
    ExpectTrack(read, path, 3, audio.frames);
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, SingleStreamFileTest,
                         ::testing::Values(Case{"H264Aac", "MKV ", "H264", "h264", "AAC ", "aac",
                                                false, "matroska", "V_MPEG4/ISO/AVC", "A_AAC"},
                                           Case{"I264SlicesAacLateConfiguration", "KMKV", "I264",
                                                "h264slices", "AAC ", "aac", true, "matroska",
                                                "V_MPEG4/ISO/AVC", "A_AAC"},
                                           Case{"H264Mp3", "MKV ", "H264", "h264", "MP3 ", "mp3",
                                                false, "matroska", "V_MPEG4/ISO/AVC", "A_MPEG/L3"},
                                           Case{"H264Ac3", "HMKV", "H264", "h264", "AC3 ", "ac3",
                                                false, "matroska", "V_MPEG4/ISO/AVC", "A_AC3"},
                                           Case{"Vp9Ac3IsWebm", "MKV ", "VP9 ", "vp9", "AC3 ",
                                                "ac3", false, "webm", "V_VP9", "A_AC3"},
                                           Case{"AacOnly", "MKA ", nullptr, "", "AAC ", "aac",
                                                false, "matroska", "", "A_AAC"},
                                           Case{"H264Only", "MKV ", "H264", "h264", nullptr, "",
                                                false, "matroska", "V_MPEG4/ISO/AVC", ""}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace kx::test
