#include "src/mkv/track_setup.h"

#include <gtest/gtest.h>

#include <cstring>

#include "src/codec/fourcc.h"
#include "src/platform/crt_rand.h"
#include "tests/support/memory_stream.h"

namespace kx {
namespace {

VideoParams Video(const char (&fourcc)[5], int width, int height, double fps) {
  VideoParams video{};
  std::memcpy(&video.fourcc, fourcc, 4);
  video.width = width;
  video.height = height;
  video.frameRate = fps;
  video.flags = 1;
  return video;
}

TEST(TrackSetupTest, VideoTrackFromHostParameters) {
  platform::ResetCrtRand();
  MatroskaStream stream;
  ASSERT_EQ(SetupVideoTrack(stream, Video("H264", 1920, 1080, 25), 1), 0);
  const auto& entry = stream.entry();
  EXPECT_EQ(entry.track_number.Value(), 2U);
  EXPECT_EQ(entry.track_uid.Value(), 41U);  // the runtime generator's first value
  EXPECT_EQ(entry.track_type.Value(), 1U);
  EXPECT_EQ(entry.min_cache.Value(), 1U);
  EXPECT_EQ(entry.max_cache.Value(), 1U);
  EXPECT_EQ(entry.language.value(), "und");
  EXPECT_FALSE(entry.flag_lacing.IsSet());
  EXPECT_FALSE(entry.flag_default.IsSet());
  EXPECT_EQ(entry.default_duration.Value(), 40000000U);
  EXPECT_EQ(entry.video.pixel_width.Value(), 1920U);
  EXPECT_EQ(entry.video.pixel_height.Value(), 1080U);
  EXPECT_EQ(entry.video.display_width.Value(), 16U);
  EXPECT_EQ(entry.video.display_height.Value(), 9U);
  EXPECT_FALSE(entry.video.display_unit.IsSet());
  EXPECT_TRUE(entry.video.alpha_mode.IsSet());
  EXPECT_EQ(entry.video.alpha_mode.Value(), 0U);
  EXPECT_FLOAT_EQ(entry.video.frame_rate.Value(), 25.0F);
  EXPECT_EQ(entry.codec_id.Text(), "V_MPEG4/ISO/AVC");
  // The CodecID is written with its terminating zero.
  EXPECT_EQ(entry.codec_id.length(), 16U);
  EXPECT_TRUE(entry.codec_private.empty());
  EXPECT_EQ(entry.type_selector, MatroskaWriter::TrackEntry::kVideo);
}

TEST(TrackSetupTest, DisplayAspectPairAndFrameDurations) {
  MatroskaStream stream;
  VideoParams video = Video("VP9 ", 1920, 1080, 29.97);
  video.aspectNumerator = 4;
  video.aspectDenominator = 3;
  SetupVideoTrack(stream, video, 1);
  EXPECT_EQ(stream.entry().video.display_width.Value(), 4U);
  EXPECT_EQ(stream.entry().video.display_height.Value(), 3U);
  EXPECT_EQ(stream.entry().default_duration.Value(), 33366700U);
  EXPECT_EQ(stream.entry().codec_id.Text(), "V_VP9");
  // Without bit 0 of the flags word the pair is ignored.
  video.flags = 0;
  SetupVideoTrack(stream, video, 1);
  EXPECT_EQ(stream.entry().video.display_width.Value(), 16U);
  // A frame rate of 0 leaves DefaultDuration out.
  SetupVideoTrack(stream, Video("VP9 ", 320, 240, 0), 1);
  EXPECT_FALSE(stream.entry().default_duration.IsSet());
}

TEST(TrackSetupTest, UnknownVideoFourCCGetsABitmapInfoHeader) {
  MatroskaStream stream;
  SetupVideoTrack(stream, Video("DIV3", 640, -480, 25), 1);
  const auto& entry = stream.entry();
  EXPECT_EQ(entry.codec_id.Text(), "V_MS/VFW/FOURCC");
  EXPECT_EQ(entry.video.pixel_height.Value(), 480U);
  ASSERT_EQ(entry.codec_private.length(), 40U);
  int32_t height = 0;
  std::memcpy(&height, entry.codec_private.bytes().data() + 8, 4);
  EXPECT_EQ(height, -480);
}

TEST(TrackSetupTest, SphericalVideoWritesProjectionAndStereoMode) {
  MatroskaStream stream;
  VideoParams video = Video("VP9 ", 640, 480, 25);
  video.projection = 360;
  video.stereoMode = 1;
  SetupVideoTrack(stream, video, 1);
  EXPECT_NE(stream.entry().video.projection_switch, 0U);
  EXPECT_EQ(stream.entry().video.stereo_mode.Value(), 1U);
  video.stereoMode = 3;  // not a mode this writer knows
  SetupVideoTrack(stream, video, 1);
  EXPECT_FALSE(stream.entry().video.stereo_mode.IsSet());
}

TEST(TrackSetupTest, AudioTrackCodecIdsAndFallback) {
  AudioParams audio{};
  audio.sampleRate = 48000;
  audio.channels = 2;
  audio.bitsPerSample = 16;
  MatroskaStream stream;
  const struct {
    const char* fourcc;
    const char* codec_id;
  } cases[] = {{"MP2A", "A_MPEG/L2"},      {"MP3 ", "A_MPEG/L3"},     {"AC3 ", "A_AC3"},
               {"DTS ", "A_DTS"},          {"PCM ", "A_PCM/INT/LIT"}, {"AAC ", "A_AAC"},
               {"WAAC", "A_AAC"},          {"VBIS", "A_VORBIS"},      {"OPUS", "A_OPUS"},
               {"KAAC", "A_MS/VFW/FOURCC"}};
  for (const auto& c : cases) {
    std::memcpy(&audio.fourcc, c.fourcc, 4);
    SetupAudioTrack(stream, audio, 2);
    EXPECT_EQ(stream.entry().codec_id.Text(), c.codec_id) << c.fourcc;
  }
  EXPECT_EQ(stream.entry().track_number.Value(), 3U);
  EXPECT_EQ(stream.entry().track_type.Value(), 2U);
  EXPECT_FLOAT_EQ(stream.entry().audio.sampling_frequency.Value(), 48000.0F);
  EXPECT_EQ(stream.entry().audio.channels.Value(), 2U);
  EXPECT_EQ(stream.entry().audio.bit_depth.Value(), 16U);
  ASSERT_EQ(stream.entry().codec_private.length(), 18U);  // KAAC: the VFW record
  EXPECT_EQ(stream.entry().codec_private.bytes()[0], 0x4B);
  EXPECT_EQ(stream.entry().codec_private.bytes()[1], 0x41);
  EXPECT_EQ(stream.entry().type_selector, MatroskaWriter::TrackEntry::kAudio);
}

}  // namespace
}  // namespace kx
