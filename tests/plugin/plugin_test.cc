// What the host reads as raw memory (the two catalogues) and what it sees of
// the single-stream entry points: refusals, log lines, the muxer chosen.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "src/mkv/hevc_mkv_muxer.h"
#include "src/plugin/multi_stream_entry.h"
#include "src/plugin/single_stream_entry.h"
#include "tests/support/log_capture.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

// Codec lists as their FourCCs back to back; "" for a row without one.
const char* const kMkvAudio = "AAC WAACAC3 MP3 OPUS";
const char* const kHmkvVideo =
    "I264A264AAVCN264E264havcNB24AB24IB24EB24B264HEVCVT64V265A265I265E265VP8 VP9 AV1 IAV1";
const char* const kWebmVideo = "VP8 VP9 AV1 IAV1";
struct RowText {
  const char* fourcc;
  std::u16string extension, name, description;
  const char* audio;
  const char* video_single;
  const char* video_multi;
};
const RowText kRows[] = {
    {"KMKV", u".mkv", u"MKV", u"MKV File", "AAC KAACWAACAC3 ",
     "K264VT64N264E264I264A264AAVCK265HEVCV265A265I265E265VP8 VP9 AV1 IAV1",
     "K264VT64K265HEVCV265A265I265E265VP8 VP9 AV1 IAV1"},
    {"MKV ", u".mkv", u"MKV", u"MKV File", kMkvAudio,
     "I264A264AAVCN264E264H264XvidNB24AB24IB24EB24B264HEVCA265I265E265VP8 VP9 AV1 IAV1",
     "I264A264AAVCN264E264H264XvidNB24AB24IB24EB24B264HEVCV265A265I265E265VP8 VP9 AV1 IAV1"},
    {"HMKV", u".mkv", u"MKV", u"MKV File", "AC3 ", kHmkvVideo, kHmkvVideo},
    {"MKA ", u".mka", u"MKA", u"MKA File", kMkvAudio, "", ""},
    {"WEBM", u".webm", u"WEBM", u"WEBM File", "VBIS", kWebmVideo, kWebmVideo},
};

Bytes Memory(const void* at, size_t size) {
  const auto* begin = static_cast<const uint8_t*>(at);
  return {begin, begin + size};
}

// 8-byte entries with the FourCC in the low half, then an all-zero entry.
Bytes ListBytes(const std::string& codes) {
  Bytes bytes((codes.size() / 4 + 1) * 8, 0);
  for (size_t i = 0; i < codes.size() / 4; ++i) std::memcpy(&bytes[i * 8], &codes[i * 4], 4);
  return bytes;
}

// `bytes` and then little-endian 8-byte words: pointers, null, the flag.
template <typename... T>
Bytes Words(Bytes bytes, T... values) {
  const auto word = [](auto v) -> uint64_t {
    if constexpr (std::is_integral_v<decltype(v)>) return static_cast<uint64_t>(v);
    if constexpr (std::is_null_pointer_v<decltype(v)>) return 0;
    if constexpr (std::is_pointer_v<decltype(v)>) return reinterpret_cast<uintptr_t>(v);
  };
  for (const uint64_t value : {word(values)...}) {
    const Bytes one = Memory(&value, 8);
    bytes.insert(bytes.end(), one.begin(), one.end());
  }
  return bytes;
}

// Each 488-byte record: FourCC and UTF-16 texts in their fixed fields, the
// codec lists (null where a row has none), the functions (null where a row
// has no video), the flag; then an all-zero record.
TEST(Catalogue, RecordsByteForByte) {
  for (size_t row = 0; row < 5; ++row) {
    const RowText& r = kRows[row];
    Bytes head(408, 0);
    std::memcpy(head.data(), r.fourcc, 4);
    for (const auto& [at, text] :
         {std::pair{4, &r.extension}, {24, &r.name}, {152, &r.description}}) {
      for (size_t i = 0; i < text->size(); ++i) head[at + 2 * i] = (*text)[i];
    }
    SCOPED_TRACE(r.fourcc);
    const FileFormat& f = GetFileFormats()[row];
    const FileMultiStreamFormat& m = GetFileMultiStreamFormats()[row];
    const bool video = *r.video_single != '\0';
    for (const auto& [lists, codes] : {std::pair{&f.audioCodecs, r.audio},
                                       {&f.videoCodecs, r.video_single},
                                       {&m.audioCodecs, r.audio},
                                       {&m.videoCodecs, r.video_multi}}) {
      EXPECT_EQ(*lists == nullptr, *codes == '\0');
      if (*lists != nullptr) {
        EXPECT_EQ(Memory(*lists, (strlen(codes) / 4 + 1) * 8), ListBytes(codes));
      }
    }
    EXPECT_EQ(Memory(&f, 488),
              Words(head, f.audioCodecs, f.videoCodecs, &CreateMediaFile, &WriteAudioData,
                    video ? &WriteVideoData : nullptr, &CloseMediaFile, &WriteAudioExtraData,
                    video ? &WriteVideoExtraData : nullptr, row == 0 ? 1 : 0,
                    video ? &SetDisplayAspectRatio : nullptr));
    EXPECT_EQ(Memory(&m, 488),
              Words(head, m.audioCodecs, m.videoCodecs, nullptr, &CreateMediaFileMultiStream,
                    &AddStreamInfoMultiStream, &InitMediaFileMultiStream, &WriteSampleMultiStream,
                    &CloseMediaFileMultiStream, &WriteExtraDataMultiStream, 1));
  }
  EXPECT_EQ(Memory(GetFileFormats() + 5, 488), Bytes(488, 0));
  EXPECT_EQ(Memory(GetFileMultiStreamFormats() + 5, 488), Bytes(488, 0));
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

}  // namespace
}  // namespace kx::test
