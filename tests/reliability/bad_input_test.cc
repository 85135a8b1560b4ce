// Every bad input a host can give, through both function tables: each case
// runs against the single-stream and the multi-stream table, for every kind
// of muxer and sample path, into a real file, a path that cannot be created
// (a handle that never got a file) and a full disk. The sanitizer build runs
// the same loop, so undefined behaviour and leaks of any cycle fail it.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

constexpr int64_t kHour = 3600LL * 10000000;

// One file through one table: video at multi-stream index 0, audio at 1.
// The multi-stream writes report nothing, so their results are always 0.
class Host {
 public:
  Host(bool multi, const char* container, const std::u16string& path, MediaFileParams params)
      : multi_(multi), row_(Row(container)) {
    if (!multi) {
      handle_ = row_.CreateMediaFile(path.c_str(), &params);
      return;
    }
    handle_ = m_.CreateMediaFileMultiStream();
    MediaFileParams audio = params;
    params.noAudio = 1;
    audio.noVideo = 1;
    if (params.noVideo == 0) m_.AddStreamInfoMultiStream(handle_, 2, 0, 0, 0, &params);
    m_.AddStreamInfoMultiStream(handle_, 3, 0, 1, 1, &audio);
    m_.AddStreamInfoMultiStream(handle_, 7, 0, 2, 1, &audio);  // unknown type, same index
    m_.InitMediaFileMultiStream(handle_, params.containerFourcc, path.c_str(), 0);
  }
  ~Host() { multi_ ? m_.CloseMediaFileMultiStream(handle_) : (void)row_.CloseMediaFile(handle_); }

  int32_t Video(const MediaSample* s) {
    if (multi_) return m_.WriteSampleMultiStream(handle_, 0, s, nullptr);
    return row_.WriteVideoData == nullptr ? 0 : row_.WriteVideoData(handle_, s);
  }
  int32_t Audio(const MediaSample* s, const std::vector<uint32_t>& table = {}) {
    const auto* frames =
        table.empty() ? nullptr : reinterpret_cast<const FrameSizeTable*>(&table[0]);
    if (multi_) return m_.WriteSampleMultiStream(handle_, 1, s, frames);
    return row_.WriteAudioData(handle_, s, frames);
  }
  // The same bytes as video and as audio configuration, unframed.
  void Extra(const uint8_t* data, int32_t size) {
    if (multi_) {
      for (uint32_t index : {0, 1, 9}) m_.WriteExtraDataMultiStream(handle_, index, data, size);
      return;
    }
    if (row_.WriteVideoExtraData != nullptr)
      row_.WriteVideoExtraData(handle_, data, size, data, size);
    row_.WriteAudioExtraData(handle_, data, size);
  }

 private:
  bool multi_;
  const FileFormat& row_;
  const FileMultiStreamFormat& m_ = GetFileMultiStreamFormats()[0];
  void* handle_ = nullptr;
};

MediaSample VideoSample(Bytes& data, int64_t start, int32_t duration = 400000, int key = 0) {
  MediaSample s{};
  s.videoData = data.empty() ? nullptr : data.data();
  s.videoSize = static_cast<int32_t>(data.size());
  s.start = start;
  s.duration = duration;
  s.keyframe = key;
  return s;
}

MediaSample AudioSample(Bytes& data, int64_t start, int32_t duration = 200000) {
  MediaSample s{};
  s.audioData = data.empty() ? nullptr : data.data();
  s.audioSize = static_cast<int32_t>(data.size());
  s.start = start;
  s.duration = duration;
  return s;
}

// An IDR slice with a 4-byte start code: every video path keeps it.
Bytes Slice() { return {0, 0, 0, 1, 0x65, 0x88, 0x84, 0x21, 0xA0, 0x40}; }

struct Case {
  const char* name;
  std::function<void(MediaFileParams&)> params;  // may be empty
  std::function<void(Host&)> calls;
};

// clang-format off
const Case kCases[] = {
    {"null_pointers", {}, [](Host& h) {
       Bytes none;
       MediaSample s = VideoSample(none, 0);
       s.videoSize = 100;  // a size with no data
       s.additionalSize = 1000;
       EXPECT_EQ(h.Video(nullptr), 0);
       EXPECT_EQ(h.Audio(nullptr), 0);
       EXPECT_EQ(h.Video(&s), 0);
       MediaSample a = AudioSample(none, 0);
       a.audioSize = 100;
       EXPECT_EQ(h.Audio(&a), 0);
       h.Extra(nullptr, 100);
     }},
    {"negative_zero_and_huge_sizes", {}, [](Host& h) {
       Bytes data = Slice();
       for (int32_t size : {0, -1, INT_MIN}) {
         MediaSample v = VideoSample(data, 0);
         v.videoSize = size;
         MediaSample a = AudioSample(data, 0);
         a.audioSize = size;
         EXPECT_EQ(h.Video(&v), 0) << size;
         EXPECT_EQ(h.Audio(&a), 0) << size;
         h.Extra(data.data(), size);
       }
       h.Extra(nullptr, INT_MAX);
     }},
    {"frame_tables_past_the_sample_and_bad_counts", {}, [](Host& h) {
       Bytes data(8, 0x11);
       MediaSample a = AudioSample(data, 0);
       for (const std::vector<uint32_t>& table :
            {std::vector<uint32_t>{3, 4, 4, 0xFFFFFFFF}, {3, 4, 4, 4}, {2, 0x80000000, 0x80000008},
             {0}, {0xFFFFFFFF}, {0x80000000}, {5, 0, 0, 0, 0, 9}})
         EXPECT_EQ(h.Audio(&a, table), 0) << table[0];
     }},
    {"start_codes_at_and_past_the_end", {}, [](Host& h) {
       for (Bytes data : {Bytes{0, 0, 0, 1}, Bytes{0, 0, 0}, Bytes{0, 0, 1}, Bytes{0, 0, 0, 1, 0x65},
                          Bytes{0, 0, 0, 1, 0x65, 0, 0, 0}, Bytes{0, 0, 0, 1, 0x41, 0, 0, 0, 1}}) {
         MediaSample s = VideoSample(data, 0, 400000, 1);
         h.Video(&s);
       }
     }},
    {"bytes_before_any_start_code_and_empty_units", {}, [](Host& h) {
       for (Bytes data : {Bytes{0xAA, 0xBB, 0, 0, 0, 1, 0x65, 0x88, 0x84},
                          Bytes{0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 1, 0x65, 0x88, 0, 0, 1, 0, 0, 0, 1},
                          Bytes{0x67, 0x42, 0, 0x1E, 0x65, 0x88}}) {
         MediaSample s = VideoSample(data, 0, 400000, 1);
         h.Video(&s);
       }
     }},
    {"times_backwards_jumping_and_at_the_64_bit_ends", {}, [](Host& h) {
       for (int64_t start : {int64_t{0}, -kHour, 3 * kHour, int64_t{0}, INT64_MAX, INT64_MIN,
                             INT64_MIN + 1, INT64_MAX - 1, int64_t{-15000}}) {
         Bytes data = Slice();
         MediaSample v = VideoSample(data, start);  // non-key: refers to the previous start
         h.Video(&v);
         MediaSample a = AudioSample(data, start, start < 0 ? INT_MIN : INT_MAX);
         h.Audio(&a, {2, 5, 5});
         h.Audio(&a);
       }
     }},
    {"first_start_at_int64_min_then_max", {}, [](Host& h) {
       for (int64_t start : {INT64_MIN, INT64_MAX, INT64_MIN, int64_t{0}}) {
         Bytes data = Slice();
         MediaSample v = VideoSample(data, start, -1, start == INT64_MIN);
         h.Video(&v);
       }
     }},
    {"extra_data_of_every_odd_length", {}, [](Host& h) {
       Bytes data(1100, 0xFF);  // every length prefix lies
       for (int32_t size : {1, 2, 3, 4, 5, 7, 8, 9, 12, 13, 1025, 1100}) h.Extra(data.data(), size);
       Bytes zeros(16, 0);
       for (int32_t size : {4, 8, 9, 12, 16}) h.Extra(zeros.data(), size);
     }},
    {"unknown_fourccs_and_32_bit_extremes",
     [](MediaFileParams& p) {
       p.video.fourcc = 0x5A5A5A5A;
       p.audio.fourcc = 0x51515151;
       p.video.width = p.video.height = INT_MIN;
       p.video.frameRate = -1;
       p.audio.sampleRate = p.audio.channels = p.audio.bitsPerSample = INT_MAX;
     },
     [](Host& h) {
       Bytes data = Slice();
       MediaSample v = VideoSample(data, 0, INT_MAX, 1);
       h.Video(&v);
       MediaSample a = AudioSample(data, 0, INT_MIN);
       h.Audio(&a);
     }},
};
// clang-format on

struct Kind {
  const char* container;
  const char* video;  // null: none
  const char* audio;
};
const Kind kKinds[] = {{"MKV ", "H264", "AAC "}, {"MKV ", "I264", "VBIS"},
                       {"MKV ", "W264", "AC3 "}, {"HMKV", "HEVC", "AC3 "},
                       {"WEBM", "VP9 ", "VBIS"}, {"MKA ", nullptr, "AAC "}};

TEST(BadInput, EveryCaseThroughBothTablesIntoEveryTarget) {
  const TempDir dir;
  for (const Case& c : kCases) {
    for (const Kind& kind : kKinds) {
      for (const bool multi : {false, true}) {
        for (const auto& [target, path] : {std::pair{"file", dir.WidePath(u"f.mkv")},
                                           {"uncreatable", dir.WidePath(u"no/f.mkv")},
                                           {"disk_full", std::u16string(u"/dev/full")}}) {
          SCOPED_TRACE(std::string(c.name) + " " + kind.container + " " +
                       (kind.video ? kind.video : "-") + (multi ? " multi " : " single ") + target);
          MediaFileParams params =
              FileParams(kind.container, kind.video, 320, 240, 25, kind.audio, 48000, 2);
          if (c.params) c.params(params);
          std::filesystem::remove(dir.path() / "f.mkv");
          {
            Host host(multi, kind.container, path, params);
            c.calls(host);
          }
          const std::string file = dir.Path("f.mkv");
          if (std::string(target) == "file" && std::filesystem::file_size(file) > 0) {
            EXPECT_TRUE(ReadMatroskaFile(file).parsed);
          }
        }
      }
    }
  }
}

// The neighbourhoods of the two overflows once found: the WAVEFORMATEX byte
// rate (a 32-bit product) and the ReferenceBlock offset of far-apart starts.
TEST(BadInput, ByteRateAndReferenceOffsetsAtTheLimits) {
  struct Row {
    int32_t rate, bits, channels;
    uint32_t bytes_per_second;  // the low 32 bits of the product, over 8 as signed
    int64_t second_start;
    int64_t reference;  // ms, half away from zero
  };
  const Row rows[] = {{48000, 16, 2, 192000, 14999, -1},
                      {44739242, 16, 3, 268435452, 15000, -2},
                      {INT_MAX, INT_MAX, INT_MAX, 268435455, INT64_MAX, -922337203685478},
                      {-1, 16, 2, 0xFFFFFFFC, -15000, 2}};
  const TempDir dir;
  for (const Row& r : rows) {
    for (const bool multi : {false, true}) {
      SCOPED_TRACE(std::to_string(r.rate) + (multi ? " multi" : " single"));
      MediaFileParams params = FileParams("MKV ", "VP9 ", 320, 240, 25, "QQQQ", r.rate, r.channels);
      params.audio.bitsPerSample = r.bits;
      {
        Host host(multi, "MKV ", dir.WidePath(u"r.mkv"), params);
        Bytes data = Slice();
        for (const int64_t start : {int64_t{0}, r.second_start}) {
          MediaSample v = VideoSample(data, start, 400000, start == 0);
          host.Video(&v);
        }
        MediaSample a = AudioSample(data, 0);
        host.Audio(&a);
      }
      const MatroskaFile file = ReadMatroskaFile(dir.Path("r.mkv"));
      ASSERT_EQ(file.tracks.size(), 2u);
      const Bytes& format = file.tracks[1].codec_private;
      ASSERT_EQ(format.size(), 18u);
      uint32_t bytes_per_second = 0;
      std::memcpy(&bytes_per_second, &format[8], 4);
      EXPECT_EQ(bytes_per_second, r.bytes_per_second);
      const auto blocks = file.BlocksOfTrack(file.tracks[0].number);
      ASSERT_EQ(blocks.size(), 2u);
      EXPECT_EQ(blocks[1].references, std::vector<int64_t>{r.reference});
    }
  }
}

}  // namespace
}  // namespace kx::test
