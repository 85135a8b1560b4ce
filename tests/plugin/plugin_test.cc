// What the host reads as raw memory (the two catalogues) and what it sees of
// the single-stream entry points: refusals, log lines, the muxer chosen.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <typeinfo>
#include <vector>

#include "host/yr_log.h"
#include "src/mkv/hevc_mkv_muxer.h"
#include "src/plugin/multi_stream_entry.h"
#include "src/plugin/single_stream_entry.h"
#include "tests/support/log_capture.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

using Codes = std::vector<std::string>;
const Codes kKmkvAudio = {"AAC ", "KAAC", "WAAC", "AC3 "};
const Codes kMkvAudio = {"AAC ", "WAAC", "AC3 ", "MP3 ", "OPUS"};
const Codes kHmkvAudio = {"AC3 "};
const Codes kWebmAudio = {"VBIS"};
const Codes kKmkvVideo = {"K264", "VT64", "N264", "E264", "I264", "A264", "AAVC", "K265", "HEVC",
                          "V265", "A265", "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kMkvVideo = {"I264", "A264", "AAVC", "N264", "E264", "H264", "Xvid",
                         "NB24", "AB24", "IB24", "EB24", "B264", "HEVC", "A265",
                         "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kHmkvVideo = {"I264", "A264", "AAVC", "N264", "E264", "havc", "NB24",
                          "AB24", "IB24", "EB24", "B264", "HEVC", "VT64", "V265",
                          "A265", "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kWebmVideo = {"VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kKmkvVideoMulti = {"K264", "VT64", "K265", "HEVC", "V265", "A265",
                               "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kMkvVideoMulti = {"I264", "A264", "AAVC", "N264", "E264", "H264", "Xvid",
                              "NB24", "AB24", "IB24", "EB24", "B264", "HEVC", "V265",
                              "A265", "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};

struct RowText {
  const char* fourcc;
  std::u16string extension, name, description;
  const Codes* audio;
  const Codes* video_single;
  const Codes* video_multi;
};
const RowText kRows[] = {
    {"KMKV", u".mkv", u"MKV", u"MKV File", &kKmkvAudio, &kKmkvVideo, &kKmkvVideoMulti},
    {"MKV ", u".mkv", u"MKV", u"MKV File", &kMkvAudio, &kMkvVideo, &kMkvVideoMulti},
    {"HMKV", u".mkv", u"MKV", u"MKV File", &kHmkvAudio, &kHmkvVideo, &kHmkvVideo},
    {"MKA ", u".mka", u"MKA", u"MKA File", &kMkvAudio, nullptr, nullptr},
    {"WEBM", u".webm", u"WEBM", u"WEBM File", &kWebmAudio, &kWebmVideo, &kWebmVideo},
};

Bytes Memory(const void* at, size_t size) {
  const auto* begin = static_cast<const uint8_t*>(at);
  return {begin, begin + size};
}

// 8-byte entries with the FourCC in the low half, then an all-zero entry.
Bytes ListBytes(const Codes& codes) {
  Bytes bytes((codes.size() + 1) * 8, 0);
  for (size_t i = 0; i < codes.size(); ++i) std::memcpy(&bytes[i * 8], codes[i].data(), 4);
  return bytes;
}

template <typename T>
void Put(Bytes& record, size_t at, T* pointer) {
  const auto value = reinterpret_cast<uintptr_t>(pointer);
  std::memcpy(&record[at], &value, 8);
}

// Each 488-byte record whole: FourCC, the UTF-16 texts in their fixed
// fields, the lists (null where a row has none), the functions, the flag;
// then an all-zero record.
TEST(Catalogue, RecordsByteForByte) {
  const auto* single = reinterpret_cast<const uint8_t*>(GetFileFormats());
  const auto* multi = reinterpret_cast<const uint8_t*>(GetFileMultiStreamFormats());
  for (size_t row = 0; row < 5; ++row) {
    const RowText& r = kRows[row];
    Bytes expected(488, 0);
    std::memcpy(expected.data(), r.fourcc, 4);
    for (const auto& [at, text] :
         {std::pair{4, &r.extension}, {24, &r.name}, {152, &r.description}}) {
      for (size_t i = 0; i < text->size(); ++i) expected[at + 2 * i] = (*text)[i];
    }
    for (const bool is_multi : {false, true}) {
      SCOPED_TRACE(std::string(r.fourcc) + (is_multi ? " multi" : " single"));
      const uint8_t* record = (is_multi ? multi : single) + row * 488;
      const Codes* video = is_multi ? r.video_multi : r.video_single;
      const CodecList* lists[2];
      std::memcpy(static_cast<void*>(lists), record + 408, 16);
      EXPECT_EQ(Memory(lists[0], (r.audio->size() + 1) * 8), ListBytes(*r.audio));
      if (video == nullptr) EXPECT_EQ(lists[1], nullptr);
      if (video != nullptr) {
        EXPECT_EQ(Memory(lists[1], (video->size() + 1) * 8), ListBytes(*video));
      }
      Bytes full = expected;
      Put(full, 408, lists[0]);
      Put(full, 416, lists[1]);
      if (is_multi) {
        Put(full, 432, &CreateMediaFileMultiStream);
        Put(full, 440, &AddStreamInfoMultiStream);
        Put(full, 448, &InitMediaFileMultiStream);
        Put(full, 456, &WriteSampleMultiStream);
        Put(full, 464, &CloseMediaFileMultiStream);
        Put(full, 472, &WriteExtraDataMultiStream);
        full[480] = 1;
      } else {
        Put(full, 424, &CreateMediaFile);
        Put(full, 432, &WriteAudioData);
        Put(full, 448, &CloseMediaFile);
        Put(full, 456, &WriteAudioExtraData);
        full[472] = row == 0 ? 1 : 0;
        if (video != nullptr) {
          Put(full, 440, &WriteVideoData);
          Put(full, 464, &WriteVideoExtraData);
          Put(full, 480, &SetDisplayAspectRatio);
        }
      }
      EXPECT_EQ(Memory(record, 488), full);
    }
  }
  EXPECT_EQ(Memory(single + 5 * 488, 488), Bytes(488, 0));
  EXPECT_EQ(Memory(multi + 5 * 488, 488), Bytes(488, 0));
  const LogCapture log;
  GetFileFormats();
  GetFileMultiStreamFormats();
  EXPECT_EQ(log.Text(),
            "kx_mkv.dll: Return file formats...\nkx_mkv: GetFileMultiStreamFormats... \n");
}

// Refusals: nothing is created, and the host log says why when the host
// could not know.
TEST(SingleStreamEntry, RefusalsAndTheirLogLines) {
  const TempDir dir;
  const LogCapture log;
  const MediaFileParams mkv = FileParams("MKV ", "H264", 320, 240, 25, "AAC ", 48000, 2);
  const MediaFileParams avi = FileParams("AVI ", "H264", 320, 240, 25, "AAC ", 48000, 2);
  EXPECT_EQ(CreateMediaFile(nullptr, &mkv), nullptr);
  EXPECT_EQ(CreateMediaFile(dir.WidePath(u"a.mkv").c_str(), nullptr), nullptr);
  MediaSample sample{};
  EXPECT_EQ(WriteVideoData(nullptr, &sample), 0);
  EXPECT_EQ(WriteAudioData(nullptr, &sample, nullptr), 0);
  WriteAudioExtraData(nullptr, nullptr, 0);
  WriteVideoExtraData(nullptr, nullptr, 0, nullptr, 0);
  EXPECT_EQ(CloseMediaFile(nullptr), 0);
  EXPECT_EQ(log.Text(), "");
  EXPECT_EQ(CreateMediaFile(dir.WidePath(u"b.avi").c_str(), &avi), nullptr);
  EXPECT_EQ(CreateMediaFile(dir.WidePath(u"no/dir/c.mkv").c_str(), &mkv), nullptr);
  EXPECT_EQ(log.Text(),
            "kx_mkv.dll: Can't find the file format[AVI ].\n"
            "kx_mkv.dll: Create media file[" +
                dir.Path("no/dir/c.mkv") + "] failed\n");
  EXPECT_FALSE(std::filesystem::exists(dir.path() / "b.avi"));
}

TEST(SingleStreamEntry, HevcFourCCsGetTheHevcMuxer) {
  const TempDir dir;
  for (const std::string fourcc :
       {"HEVC", "K265", "A265", "E265", "I265", "V265", "W265", "H264"}) {
    const MediaFileParams params =
        FileParams("MKV ", fourcc.c_str(), 320, 240, 25, "AAC ", 48000, 2);
    void* handle = CreateMediaFile(dir.WidePath(u"h.mkv").c_str(), &params);
    ASSERT_NE(handle, nullptr) << fourcc;
    auto& muxer = *static_cast<SingleStreamMuxer*>(handle);
    EXPECT_EQ(typeid(muxer) == typeid(HevcMKVMuxer), fourcc != "W265" && fourcc != "H264")
        << fourcc;
    CloseMediaFile(handle);
  }
}

// Host log records: UTF-16 arguments become UTF-8 (a lone surrogate U+FFFD),
// one line feed ends each.
TEST(HostLog, FormatsAsTheModuleWritesThem) {
  const LogCapture log;
  const std::u16string lone = {u'a', 0xD83D, u'b'};
  HostLogFormat(u"%ls", lone.c_str());
  HostLogFormat(u"kx_%ls: [%s] %d|%c%c|%0.6f|100%%", u"mkv", u"t\u00ebst\U0001F600",
                -2147483647 - 1, 'W', 0xE9, 29.97002997002997);
  HostLogFormat(u"own line end\n");
  HostLogText(u"100% %d \u00e9");
  EXPECT_EQ(log.Text(),
            "a\xEF\xBF\xBD"
            "b\n"
            "kx_mkv: [t\xC3\xABst\xF0\x9F\x98\x80] -2147483648|W\xC3\xA9|29.970030|100%\n"
            "own line end\n100% %d \xC3\xA9\n");
}

}  // namespace
}  // namespace kx::test
