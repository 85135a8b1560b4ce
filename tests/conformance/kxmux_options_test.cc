// kxmux's command line and codec choice rules.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "tools/kxmux/codecs.h"
#include "tools/kxmux/options.h"
#include "tools/kxmux/progress.h"

namespace kxmux {
namespace {

constexpr uint32_t F(std::string_view t) { return KX_FOURCC(t[0], t[1], t[2], t[3]); }

std::optional<Options> Parse(const std::vector<std::string>& args, std::string* error) {
  return ParseCommandLine(args, error);
}

TEST(KxmuxOptions, DefaultsToTheSampleAndMkvUnderOut) {
  std::string error;
  auto options = Parse({}, &error);
  ASSERT_TRUE(options.has_value()) << error;
  ASSERT_TRUE(ResolveOutput(&*options, &error));
  EXPECT_TRUE(options->input.empty());
  EXPECT_EQ(options->output, "out/sample.mkv");
  EXPECT_EQ(*options->format, kFormatMkv);
}

TEST(KxmuxOptions, TakesTheFormatFromTheOutputName) {
  std::string error;
  auto options = Parse({"in.mp4", "dir.x/song.MKA"}, &error);
  ASSERT_TRUE(options.has_value()) << error;
  ASSERT_TRUE(ResolveOutput(&*options, &error));
  EXPECT_EQ(*options->format, kFormatMka);

  options = Parse({"in.mp4", "dir.webm/noextension"}, &error);
  ASSERT_TRUE(options.has_value());
  EXPECT_FALSE(ResolveOutput(&*options, &error));
  EXPECT_NE(error.find("--format"), std::string::npos);
}

TEST(KxmuxOptions, NamesTheDefaultOutputAfterTheInputAndTheRow) {
  std::string error;
  auto options = Parse({"--format=webm", "media/clip.v2.mp4"}, &error);
  ASSERT_TRUE(options.has_value()) << error;
  ASSERT_TRUE(ResolveOutput(&*options, &error));
  EXPECT_EQ(options->output, "out/clip.v2.webm");
  EXPECT_EQ(*options->format, kFormatWebm);
}

TEST(KxmuxOptions, AnExplicitFormatWinsOverTheExtension) {
  std::string error;
  auto options = Parse({"--format", "KMKV", "a.mp4", "b.mkv"}, &error);
  ASSERT_TRUE(options.has_value()) << error;
  ASSERT_TRUE(ResolveOutput(&*options, &error));
  EXPECT_EQ(*options->format, kFormatKmkv);
}

TEST(KxmuxOptions, ReadsEveryOption) {
  std::string error;
  const auto options = Parse({"-q", "--any-codec", "--video-fourcc", "I264", "--audio-fourcc=AC3",
                              "--log", "l.txt", "--module=/m.so", "--no-video", "--", "-in.mp4"},
                             &error);
  ASSERT_TRUE(options.has_value()) << error;
  EXPECT_TRUE(options->quiet);
  EXPECT_TRUE(options->any_codec);
  EXPECT_TRUE(options->no_video);
  EXPECT_EQ(*options->video_fourcc, F("I264"));
  EXPECT_EQ(*options->audio_fourcc, F("AC3 "));
  EXPECT_EQ(options->log_file, "l.txt");
  EXPECT_EQ(options->module_path, "/m.so");
  EXPECT_EQ(options->input, "-in.mp4");
}

TEST(KxmuxOptions, RejectsWrongUsage) {
  const std::vector<std::vector<std::string>> wrong = {
      {"--format"},                   // value missing
      {"--format", "AVI"},            // no such row
      {"--video-fourcc", "TOOLONG"},  // not a FourCC
      {"--quiet=yes"},                // a flag with a value
      {"--frobnicate"},               // unknown
      {"a", "b", "c"},                // too many files
      {"--no-video", "--no-audio"},   // nothing left
      {"--log", ""},                  // empty value
  };
  for (const auto& args : wrong) {
    std::string error;
    EXPECT_FALSE(Parse(args, &error).has_value()) << args[0];
    EXPECT_FALSE(error.empty());
  }
}

TEST(KxmuxCodecs, FourccTextsArePaddedAndKeepTheirCase) {
  EXPECT_EQ(*ParseFourcc("VP8"), F("VP8 "));
  EXPECT_EQ(*ParseFourcc("havc"), F("havc"));
  EXPECT_NE(*ParseFourcc("havc"), F("HAVC"));
  EXPECT_FALSE(ParseFourcc("").has_value());
  EXPECT_FALSE(ParseFourcc("H2645").has_value());
  EXPECT_EQ(FourccText(F("AC3 ")), "AC3 ");
}

TEST(KxmuxCodecs, FramingFollowsTheModulesSamplePaths) {
  // Matroska rows: H264 goes through the conversion path (start codes in),
  // the NAL-unit FourCCs need 4-byte start codes, K264 is stored unchanged.
  EXPECT_EQ(FramingFor(Codec::kH264, F("H264"), kFormatMkv), Framing::kAnnexB);
  EXPECT_EQ(FramingFor(Codec::kH264, F("I264"), kFormatKmkv), Framing::kAnnexB);
  EXPECT_EQ(FramingFor(Codec::kH264, F("K264"), kFormatKmkv), Framing::kLengthPrefixed);
  EXPECT_EQ(FramingFor(Codec::kH264, F("havc"), kFormatHmkv), Framing::kLengthPrefixed);
  EXPECT_EQ(FramingFor(Codec::kHevc, F("HEVC"), kFormatMkv), Framing::kAnnexB);
  // The WebM muxer has no conversion path: H264 is stored as it comes.
  EXPECT_EQ(FramingFor(Codec::kH264, F("H264"), kFormatWebm), Framing::kLengthPrefixed);
  EXPECT_EQ(FramingFor(Codec::kH264, F("I264"), kFormatWebm), Framing::kAnnexB);
  EXPECT_EQ(FramingFor(Codec::kVp9, F("VP9 "), kFormatWebm), Framing::kAsIs);
}

TEST(KxmuxCodecs, ReadsCatalogueCodecLists) {
  const std::array<CodecList, 3> list = {F("AAC "), F("AC3 "), 0};
  EXPECT_TRUE(CodecListHas(list.data(), F("AC3 ")));
  EXPECT_FALSE(CodecListHas(list.data(), F("MP3 ")));
  EXPECT_FALSE(CodecListHas(nullptr, F("AAC ")));
  EXPECT_EQ(CodecListEntries(list.data()), (std::vector<uint32_t>{F("AAC "), F("AC3 ")}));
}

TEST(KxmuxProgress, DrawsTheShareDone) {
  EXPECT_EQ(ProgressLine(5, 10, 10), "[=====>    ]  50%  5.0 / 10.0 s");
  EXPECT_EQ(ProgressLine(12, 10, 4), "[====] 100%  10.0 / 10.0 s");
}

}  // namespace
}  // namespace kxmux
