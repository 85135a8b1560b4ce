// Bad input of every kind through both tables into a file, an uncreatable path and a full
// disk; a host killed, or failing writes, mid-file; files beyond 4 GiB. Sanitizers and
// LeakSanitizer watch it all.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <numeric>
#include <string>
#include <tuple>
#include <vector>

#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

// One file through one table; multi-stream writes report 0. Single-stream writes use the "MKV "
// row's functions, which every row shares, also where a row has none (video to an MKA file).
class Host {
 public:
  Host(bool multi, const char* container, const std::u16string& path, MediaFileParams params)
      : multi_(multi),
        handle_(multi ? m_.CreateMediaFileMultiStream()
                      : Row(container).CreateMediaFile(path.c_str(), &params)) {
    if (!multi) return;
    MediaFileParams audio = params;
    params.noAudio = audio.noVideo = 1;
    if (params.noVideo == 0) m_.AddStreamInfoMultiStream(handle_, 2, 0, 0, 0, &params);
    m_.AddStreamInfoMultiStream(handle_, 3, 0, 1, 1, &audio);
    m_.AddStreamInfoMultiStream(handle_, 7, 0, 2, 1, &audio);
    m_.InitMediaFileMultiStream(handle_, params.containerFourcc, path.c_str(), 0);
  }
  ~Host() { multi_ ? m_.CloseMediaFileMultiStream(handle_) : (void)row_.CloseMediaFile(handle_); }

  // A video or audio sample (multi-stream index 0 or 1; an unknown stream type shares 1).
  int32_t Write(bool video, uint8_t* data, int32_t size, int64_t start, int32_t duration,
                int key = 0, const std::vector<uint32_t>& table = {}) {
    MediaSample s{};
    s.start = start;
    s.duration = duration;
    (video ? s.videoData : s.audioData) = data;
    (video ? s.videoSize : s.audioSize) = size;
    s.additionalSize = video ? 1000 : 0;  // a count without data
    s.keyframe = key;
    const auto* f = table.empty() ? nullptr : reinterpret_cast<const FrameSizeTable*>(table.data());
    if (multi_) return m_.WriteSampleMultiStream(handle_, video ? 0 : 1, &s, f);
    return video ? row_.WriteVideoData(handle_, &s) : row_.WriteAudioData(handle_, &s, f);
  }
  int32_t NullSamples() {
    if (multi_) return m_.WriteSampleMultiStream(handle_, 0, nullptr, nullptr);
    return row_.WriteVideoData(handle_, nullptr) + row_.WriteAudioData(handle_, nullptr, nullptr);
  }
  // The same bytes as video and as audio configuration, unframed.
  void Extra(const uint8_t* data, int32_t size) {
    if (multi_) {
      for (uint32_t index : {0, 1, 9}) m_.WriteExtraDataMultiStream(handle_, index, data, size);
      return;
    }
    row_.WriteVideoExtraData(handle_, data, size, data, size);
    row_.WriteAudioExtraData(handle_, data, size);
  }

 private:
  bool multi_;
  const FileFormat& row_ = Row("MKV ");
  const FileMultiStreamFormat& m_ = GetFileMultiStreamFormats()[0];
  void* handle_ = nullptr;
};

// An IDR slice with a 4-byte start code: every video path keeps it.
Bytes Slice() { return {0, 0, 0, 1, 0x65, 0x88, 0x84, 0x21, 0xA0, 0x40}; }

// clang-format off
const std::pair<const char*, void (*)(Host&)> kCases[] = {
  {"null_pointers_sizes_and_extra_data_of_every_length", [](Host& h) {
     Bytes d = Slice();
     EXPECT_EQ(h.NullSamples() + h.Write(true, nullptr, 9, 0, 1), 0);
     EXPECT_EQ(h.Write(false, nullptr, 9, 0, 1), 0);
     for (auto n : {0, -1, INT_MIN, INT_MAX}) h.Extra(nullptr, n), h.Extra(d.data(), n > 0 ? 0 : n);
     for (int32_t n : {0, -1, INT_MIN})
       EXPECT_EQ(h.Write(true, d.data(), n, 0, 1, 1) + h.Write(false, d.data(), n, 0, 1), 0) << n;
     for (Bytes e : {Bytes(1100, 0xFF), Bytes(1100, 0)})  // length prefixes past the data, or 0
       for (int32_t n : {1, 2, 3, 4, 5, 7, 8, 9, 12, 13, 16, 1025, 1100}) h.Extra(e.data(), n);
   }},
  {"frame_tables_past_the_sample_and_bad_counts", [](Host& h) {
     Bytes d(8, 0x11);
     for (const std::vector<uint32_t>& table :
          {std::vector<uint32_t>{3, 4, 4, 0xFFFFFFFF}, {3, 4, 4, 4}, {2, 0x80000000, 0x80000008},
           {0}, {0xFFFFFFFF}, {0x80000000}, {5, 0, 0, 0, 0, 9}})
       EXPECT_EQ(h.Write(false, d.data(), 8, 0, 200000, 0, table), 0) << table[0];
   }},
  {"start_codes_past_the_end_bytes_before_them_and_empty_units", [](Host& h) {
     for (Bytes d : {Bytes{0, 0, 0, 1}, {0, 0, 0}, {0, 0, 0, 1, 0x65}, {0, 0, 0, 1, 5, 0},
                     {0, 0, 0, 1, 0x41, 0, 0, 0, 1}, {0xAA, 0xBB, 0, 0, 0, 1, 0x65, 0x88, 0x84},
                     {0x67, 0x42, 0x65}, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0x65, 0, 0, 1}})
       h.Write(true, d.data(), static_cast<int32_t>(d.size()), 0, 1, 1);
   }},
  {"times_backwards_jumping_and_at_the_64_bit_ends", [](Host& h) {
     for (int64_t t : {INT64_MIN, INT64_MAX, int64_t{0}, -36000000000, 108000000000, int64_t{0},
                       INT64_MAX, INT64_MIN, INT64_MIN + 1, INT64_MAX - 1, int64_t{-15000}}) {
       Bytes d = Slice();  // non-key frames refer to the previous start
       h.Write(true, d.data(), 10, t, t < 0 ? -1 : INT_MAX, t == INT64_MIN ? 1 : 0);
       h.Write(false, d.data(), 10, t, t < 0 ? INT_MIN : INT_MAX, 0, {2, 5, 5});
       h.Write(false, d.data(), 10, t, t < 0 ? INT_MIN : INT_MAX);
     }
   }},
};
// Container, video (null: none), audio; "ZZZZ" and "QQQQ" are unknown.
const char* const kKinds[][3] = {{"MKV ", "H264", "AAC "}, {"MKV ", "I264", "VBIS"},
  {"MKV ", "W264", "AC3 "}, {"HMKV", "HEVC", "AC3 "}, {"WEBM", "VP9 ", "VBIS"},
  {"MKA ", nullptr, "AAC "}, {"MKV ", "ZZZZ", "QQQQ"}};
// clang-format on

TEST(BadInput, EveryCaseThroughBothTablesIntoEveryTarget) {
  const TempDir dir;
  for (const auto& [name, calls] : kCases) {
    for (const auto& [container, video, audio] : kKinds) {
      for (const bool multi : {false, true}) {
        for (const auto& [target, path] : {std::pair{"file", dir.WidePath(u"f.mkv")},
                                           {"uncreatable", dir.WidePath(u"no/f.mkv")},
                                           {"disk_full", std::u16string(u"/dev/full")}}) {
          SCOPED_TRACE(std::string(name) + " " + container + (video ? video : "-") +
                       (multi ? " multi " : " single ") + target);
          std::filesystem::remove(dir.path() / "f.mkv");
          calls(*std::make_unique<Host>(
              multi, container, path, FileParams(container, video, 320, 240, 25, audio, 48000, 2)));
          EXPECT_TRUE(std::string(target) != "file" ||
                      std::filesystem::file_size(dir.Path("f.mkv")) == 0 ||
                      ReadMatroskaFile(dir.Path("f.mkv")).parsed);
        }
      }
    }
  }
}

// Around two overflows once found: the WAVEFORMATEX byte rate, ReferenceBlocks of far-apart starts.
TEST(BadInput, ByteRateAndReferenceOffsetsAtTheLimits) {
  // Rate, bits, channels; the byte rate: the product's low 32 bits as signed, over 8; the second
  // video start and its ReferenceBlock in ms, rounded half away from zero.
  const std::tuple<int32_t, int32_t, int32_t, uint32_t, int64_t, int64_t> rows[] = {
      {48000, 16, 2, 192000, 14999, -1},
      {44739242, 16, 3, 268435452, 15000, -2},
      {-1, 16, 2, 0xFFFFFFFC, -15000, 2},
      {INT_MAX, INT_MAX, INT_MAX, 268435455, INT64_MAX, -922337203685478}};
  const TempDir dir;
  for (const auto& [rate, bits, channels, bytes_per_second, second, reference] : rows) {
    for (const bool multi : {false, true}) {
      SCOPED_TRACE(std::to_string(rate) + (multi ? " multi" : " single"));
      auto params = FileParams("MKV ", "VP9 ", -rate, INT_MIN, -bits, "QQQQ", rate, channels);
      params.audio.bitsPerSample = bits;
      {
        Host host(multi, "MKV ", dir.WidePath(u"r.mkv"), params);
        for (const int64_t start : {int64_t{0}, second})
          host.Write(true, Slice().data(), 10, start, 1, start == 0 ? 1 : 0);
        host.Write(false, Slice().data(), 10, 0, 1);
      }
      const MatroskaFile file = ReadMatroskaFile(dir.Path("r.mkv"));
      ASSERT_TRUE(file.tracks.size() == 2 && file.tracks[1].codec_private.size() == 18);
      const Bytes& format = file.tracks[1].codec_private;  // nAvgBytesPerSec at 8, little-endian
      EXPECT_EQ(format[8] | format[9] << 8 | format[10] << 16 | uint32_t{format[11]} << 24,
                bytes_per_second);
      const auto blocks = file.BlocksOfTrack(file.tracks[0].number);
      ASSERT_EQ(blocks.size(), 2U);
      EXPECT_EQ(blocks[1].references, std::vector<int64_t>{reference});
    }
  }
}

Bytes Frame(int64_t i, bool audio) {  // frame i of a long file
  Bytes frame(audio ? 300 : 3000);
  std::iota(frame.begin(), frame.end(), static_cast<uint8_t>(i * 7 + (audio ? 1 : 0)));
  return frame;
}

// A child process writes `count` 40-ms video and audio frames through one table under a file
// size limit; with a `ready` pipe it reports after frame 3000 and waits to be killed.
pid_t WriteLongFile(bool multi, const std::u16string& path, int count, int ready, rlim_t limit) {
  const pid_t child = fork();
  if (child != 0) return child;
  signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails with EFBIG instead
  const rlimit size_limit{limit, limit};
  setrlimit(RLIMIT_FSIZE, &size_limit);
  {
    Host host(multi, "MKV ", path, FileParams("MKV ", "ZZZZ", 320, 240, 25, "QQQQ", 48000, 2));
    for (int i = 0; i < count; ++i) {
      host.Write(true, Frame(i, false).data(), 3000, i * 400000LL, 400000, i % 25 == 0 ? 1 : 0);
      host.Write(false, Frame(i, true).data(), 300, i * 400000LL, 400000);
      while (ready >= 0 && i == 3000 && write(ready, "r", 1) == 1) pause();
    }
  }
  _exit(0);
}

// The number a shell pipeline prints; 0 when it prints none.
size_t Count(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  size_t count = 0;
  if (pipe != nullptr && std::fscanf(pipe, "%zu", &count) != 1) count = 0;
  if (pipe != nullptr) pclose(pipe);
  return count;
}

// A host killed mid-file, or whose writes fail mid-file (size limit): no crash, ffprobe and mkvinfo
// read up to the last Cluster, and every Cluster but that one holds the frames fed at its times.
TEST(Crash, KilledHostAndFailingWritesLeaveCompletedClustersIntact) {
  if (Count("for t in ffprobe mkvinfo; do command -v $t; done | wc -l") != 2) {
    const char* ci = std::getenv("CI");  // where the whole suite must run
    if (ci != nullptr && std::string(ci) == "true") FAIL() << "missing ffprobe or mkvinfo";
    GTEST_SKIP() << "missing ffprobe or mkvinfo";
  }
  const TempDir dir;
  const std::string path = dir.Path("long.mkv");
  for (const bool killed : {true, false}) {
    for (const bool multi : {false, true}) {
      SCOPED_TRACE(std::string(killed ? "killed " : "size limit ") + (multi ? "multi" : "single"));
      int ready[2];
      ASSERT_EQ(pipe(ready), 0);
      const pid_t child = WriteLongFile(multi, dir.WidePath(u"long.mkv"), killed ? INT_MAX : 2000,
                                        killed ? ready[1] : -1, killed ? RLIM_INFINITY : 1 << 20);
      if (char byte = 0; killed && read(ready[0], &byte, 1) == 1) kill(child, SIGKILL);
      int status = 0;
      waitpid(child, &status, 0);
      close(ready[0]), close(ready[1]);
      EXPECT_TRUE(killed || (WIFEXITED(status) && WEXITSTATUS(status) == 0 &&
                             std::filesystem::file_size(path) == 1 << 20));
      const MatroskaFile file = ReadMatroskaFile(path);
      size_t compared = 0;
      for (; compared < file.blocks.size(); ++compared) {
        const BlockInfo& block = file.blocks[compared];
        if (block.cluster_position == file.cluster_positions.back()) break;
        const Bytes fed = Frame(block.time() / 40, block.track != file.tracks[0].number);
        EXPECT_EQ(block.frames, std::vector<Bytes>{fed}) << block.time();
      }
      EXPECT_GT(compared, killed ? 5000U : 500U);
      EXPECT_GE(
          Count("ffprobe -v quiet -show_entries packet=pts -of csv=p=0 '" + path + "' | wc -l"),
          compared);
      // mkvinfo -v lists every Cluster it reads.
      EXPECT_GE(Count("mkvinfo -v '" + path + "' | grep -c '^|+ Cluster$'"),
                file.cluster_positions.size() - 1);
    }
  }
}

// Files beyond 4 GiB through both tables (CTest label large): 4400 video frames of 1 MiB, 176 s
// with a key frame each second. mkvinfo reads all of each, its Segment size, Cues Seek and last cue
// point's Cluster past 2^32; ffprobe's seek near the end lands on the key frame before it.
TEST(LargeFile, BeyondFourGiBThroughBothTables) {
  const TempDir dir;
  if (Count("for t in ffprobe mkvinfo; do command -v $t; done | wc -l") != 2 ||
      std::filesystem::space(dir.path()).available < (6ULL << 30)) {  // a file, a GiB to spare
    const char* ci = std::getenv("CI");  // where the whole suite must run
    if (ci != nullptr && std::string(ci) == "true") FAIL() << "no ffprobe, mkvinfo or 6 GiB free";
    GTEST_SKIP() << "no ffprobe, mkvinfo or 6 GiB free in " << dir.path();
  }
  const std::string path = dir.Path("large.mkv");
  const std::string info = "'" + path + ".txt'";
  const std::string mkvinfo = "mkvinfo -a -P '" + path + "' >" + info + " 2>&1; echo $?";
  const std::string seek =
      "ffprobe -v 0 -select_streams v -read_intervals 174.5%+#1 -of csv=p=0 "
      "-show_entries packet=pts,flags '" +
      path + "' | grep -cx 174000,K_";
  const auto sed = [&](const std::string& s) { return Count("sed -n '" + s + "' " + info); };
  for (const bool multi : {false, true}) {
    SCOPED_TRACE(multi ? "multi" : "single");
    {
      Host host(multi, "MKV ", dir.WidePath(u"large.mkv"),
                FileParams("MKV ", "ZZZZ", 1920, 1080, 25, "QQQQ", 48000, 2));
      Bytes frame(1 << 20, 0x5A);
      for (int64_t i = 0; i < 4400; ++i) {
        host.Write(true, frame.data(), 1 << 20, i * 400000, 400000, i % 25 == 0 ? 1 : 0);
        host.Write(false, frame.data(), 300, i * 400000, 400000);
      }
    }
    ASSERT_EQ(Count(mkvinfo), 0U);  // its exit status: 1 after warnings, 2 after errors
    // mkvinfo's positions are the file's; those of Seeks and cue points count from the Segment's
    // data, where the SeekHead begins.
    const size_t data = sed("s/^|+ Seek head at //p");
    EXPECT_EQ(sed("s/^+ Segment: size //p"), std::filesystem::file_size(path) - data);
    const size_t cues = sed("/KaxCues/{n;s/.*Seek position: //p}");
    const size_t cluster = Count("sed -n 's/.*Cue cluster position: //p' " + info + " | tail -n1");
    EXPECT_GT(cues, size_t{1} << 32);
    EXPECT_GT(cluster, size_t{1} << 32);
    EXPECT_EQ(sed("s/^|+ Cues at //p"), data + cues);
    EXPECT_GT(sed("/^|+ Cluster at " + std::to_string(data + cluster) + "$/="), 0U);
    EXPECT_EQ(Count(seek), 1U);
  }
}

}  // namespace
}  // namespace kx::test
