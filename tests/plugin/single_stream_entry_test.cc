// The single-stream entry points as a host calls them: muxer choice, the
// display aspect ratio, and the log lines of failed creations.
#include "src/plugin/single_stream_entry.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <typeinfo>
#include <utility>

#include "src/codec/fourcc.h"
#include "src/mkv/hevc_mkv_muxer.h"
#include "src/mkv/mkv_muxer.h"
#include "tests/support/log_capture.h"
#include "tests/support/matroska_file.h"
#include "tests/support/temp_dir.h"

namespace kx {
namespace {

MediaFileParams Params(const char (&container)[5], const char (&video)[5]) {
  MediaFileParams params{};
  std::memcpy(&params.containerFourcc, container, 4);
  std::memcpy(&params.video.fourcc, video, 4);
  params.video.width = 1920;
  params.video.height = 800;
  params.video.frameRate = 25;
  std::memcpy(&params.audio.fourcc, "AAC ", 4);
  params.audio.sampleRate = 48000;
  params.audio.channels = 2;
  return params;
}

class SingleStreamEntryTest : public ::testing::Test {
 protected:
  void TearDown() override { CloseMediaFile(nullptr); }  // clears the pending aspect
  test::TempDir dir_;
  test::LogCapture log_;
};

TEST_F(SingleStreamEntryTest, ChoosesTheMuxerByVideoFourCC) {
  const auto path = dir_.WidePath(u"choice.mkv");
  const MediaFileParams hevc_params = Params("MKV ", "HEVC");
  void* hevc = CreateMediaFile(path.c_str(), &hevc_params);
  ASSERT_NE(hevc, nullptr);
  EXPECT_EQ(typeid(*static_cast<SingleStreamMuxer*>(hevc)), typeid(HevcMKVMuxer));
  EXPECT_EQ(CloseMediaFile(hevc), 0);
  // "W265" is not among the HEVC FourCCs of this interface.
  const MediaFileParams w265_params = Params("MKV ", "W265");
  void* plain = CreateMediaFile(path.c_str(), &w265_params);
  ASSERT_NE(plain, nullptr);
  EXPECT_EQ(typeid(*static_cast<SingleStreamMuxer*>(plain)), typeid(MKVMuxer));
  CloseMediaFile(plain);
  EXPECT_EQ(log_.Text(), "");
}

TEST_F(SingleStreamEntryTest, UnknownContainerIsLoggedWithItsFourCC) {
  const auto path = dir_.WidePath(u"unknown.avi");
  const MediaFileParams params = Params("AVI ", "H264");
  EXPECT_EQ(CreateMediaFile(path.c_str(), &params), nullptr);
  EXPECT_EQ(log_.Text(), "kx_mkv.dll: Can't find the file format[AVI ].\n");
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / "unknown.avi"));
}

TEST_F(SingleStreamEntryTest, UnopenableFileIsLoggedWithItsPath) {
  const auto path = dir_.WidePath(u"missing/dir/out.mkv");
  const MediaFileParams params = Params("MKV ", "H264");
  EXPECT_EQ(CreateMediaFile(path.c_str(), &params), nullptr);
  const std::string expected = "kx_mkv.dll: Create media file[" +
                               (dir_.path() / "missing/dir/out.mkv").string() + "] failed\n";
  EXPECT_EQ(log_.Text(), expected);
}

TEST_F(SingleStreamEntryTest, NullArgumentsAreRefusedSilently) {
  const auto path = dir_.WidePath(u"null.mkv");
  const MediaFileParams params = Params("MKV ", "H264");
  EXPECT_EQ(CreateMediaFile(nullptr, &params), nullptr);
  EXPECT_EQ(CreateMediaFile(path.c_str(), nullptr), nullptr);
  MediaSample sample{};
  EXPECT_EQ(WriteVideoData(nullptr, &sample), 0);
  EXPECT_EQ(WriteAudioData(nullptr, &sample, nullptr), 0);
  WriteAudioExtraData(nullptr, nullptr, 0);
  WriteVideoExtraData(nullptr, nullptr, 0, nullptr, 0);
  EXPECT_EQ(CloseMediaFile(nullptr), 0);
  EXPECT_EQ(log_.Text(), "");
}

// The display size the next file's video track gets after `record`.
std::pair<uint64_t, uint64_t> DisplaySizeAfter(const AspectRatioRecord* record,
                                               const test::TempDir& dir) {
  SetDisplayAspectRatio(record);
  const auto path = dir.WidePath(u"aspect.mkv");
  const MediaFileParams params = Params("MKV ", "VP9 ");
  void* handle = CreateMediaFile(path.c_str(), &params);
  uint8_t frame[4] = {0x82, 0x49, 0x83, 0x42};
  MediaSample sample{};
  sample.videoData = frame;
  sample.videoSize = 4;
  sample.keyframe = 1;
  WriteVideoData(handle, &sample);
  CloseMediaFile(handle);
  const test::MatroskaFile file = test::ReadMatroskaFile((dir.path() / "aspect.mkv").string());
  const test::TrackInfo* video = file.Track(2);
  if (video == nullptr) return {0, 0};
  return {video->display_width, video->display_height};
}

TEST_F(SingleStreamEntryTest, DisplayAspectRatioIsReducedAndClearedAtClose) {
  AspectRatioRecord record{};
  record.numerator = 1920;
  record.denominator = 1080;
  using Size = std::pair<uint64_t, uint64_t>;
  // 1920:1080 is stored as 16:9; the picture itself is 1920x800 here.
  EXPECT_EQ(DisplaySizeAfter(&record, dir_), Size(16, 9));
  // Closing cleared it: the next file falls back to the picture's own ratio.
  EXPECT_EQ(DisplaySizeAfter(nullptr, dir_), Size(12, 5));
  record.numerator = 4;
  record.denominator = 3;
  EXPECT_EQ(DisplaySizeAfter(&record, dir_), Size(4, 3));
  // A zero in the pair: stored unreduced, and not used.
  record.numerator = 0;
  record.denominator = 9;
  EXPECT_EQ(DisplaySizeAfter(&record, dir_), Size(12, 5));
  // No 32-bit quotient: rejected.
  record.numerator = INT32_MIN;
  record.denominator = -1;
  EXPECT_EQ(DisplaySizeAfter(&record, dir_), Size(12, 5));
  // A negative pair is never used for the display size.
  record.numerator = -32;
  record.denominator = 18;
  EXPECT_EQ(DisplaySizeAfter(&record, dir_), Size(12, 5));
}

}  // namespace
}  // namespace kx
