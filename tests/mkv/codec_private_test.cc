#include "src/mkv/codec_private.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "src/codec/fourcc.h"

namespace kx {
namespace {

using Bytes = std::vector<uint8_t>;

TEST(CodecPrivateTest, BitmapInfoHeaderKeepsTheHeightsSign) {
  VideoParams video{};
  video.fourcc = FourCC("DIV3");
  video.width = 640;
  video.height = -480;
  video.bitCount = 24;
  const Bytes expected = {40, 0, 0,   0,   0x80, 2,   0, 0, 0x20, 0xFE, 0xFF, 0xFF, 1, 0,
                          24, 0, 'D', 'I', 'V',  '3', 0, 0, 0,    0,    0,    0,    0, 0,
                          0,  0, 0,   0,   0,    0,   0, 0, 0,    0,    0,    0};
  EXPECT_EQ(BitmapInfoHeader(video), expected);
}

TEST(CodecPrivateTest, WaveFormatExCarriesItsOwnSize) {
  AudioParams audio{};
  audio.fourcc = FourCC("KAAC");
  audio.sampleRate = 48000;
  audio.channels = 2;
  audio.bitsPerSample = 16;
  // Tag "KA" = 0x414B; 192000 bytes per second; cbSize 18.
  const Bytes expected = {0x4B, 0x41, 2, 0, 0x80, 0xBB, 0, 0,  0x00,
                          0xEE, 0x02, 0, 0, 0,    16,   0, 18, 0};
  EXPECT_EQ(WaveFormatEx(audio), expected);
}

TEST(CodecPrivateTest, AvcRecordTakesProfileAndLevelFromTheSps) {
  const Bytes sps = {0x67, 0x64, 0x00, 0x1F, 0xAC};
  const Bytes pps = {0x68, 0xEE, 0x3C};
  const Bytes expected = {0x01, 0x64, 0x00, 0x1F, 0xFF, 0xE1, 0x00, 0x05, 0x67, 0x64,
                          0x00, 0x1F, 0xAC, 0x01, 0x00, 0x03, 0x68, 0xEE, 0x3C};
  EXPECT_EQ(AvcConfigurationRecord(sps.data(), 5, pps.data(), 3), expected);
}

TEST(CodecPrivateTest, AvcRecordWithMissingOrShortParameterSets) {
  // Nothing given: the 7-byte skeleton.
  EXPECT_EQ(AvcConfigurationRecord(nullptr, 0, nullptr, 0),
            (Bytes{0x01, 0x42, 0x00, 0x0D, 0xFF, 0x00, 0x00}));
  // An SPS of 10 bytes and no PPS: 19 bytes ending in a zero PPS count.
  const Bytes sps(10, 0x67);
  const Bytes record = AvcConfigurationRecord(sps.data(), 10, nullptr, 0);
  ASSERT_EQ(record.size(), 19U);
  EXPECT_EQ(record.back(), 0);
  // An SPS shorter than 4 bytes keeps the default profile bytes.
  const Bytes tiny = {0x67, 0x01};
  EXPECT_EQ(AvcConfigurationRecord(tiny.data(), 2, nullptr, 0),
            (Bytes{0x01, 0x42, 0x00, 0x0D, 0xFF, 0xE1, 0x00, 0x02, 0x67, 0x01, 0x00}));
  // A parameter set too long for the 16-bit length is refused, not truncated.
  const Bytes huge(70000, 0x68);
  EXPECT_TRUE(AvcConfigurationRecord(sps.data(), 10, huge.data(), 70000).empty());
}

TEST(CodecPrivateTest, SequenceHeaderRunsToTheFirstNonExtensionStartCode) {
  // GOP start code (B8) ends the header; the extension (B5) belongs to it.
  const Bytes data = {0x00, 0x00, 0x01, 0xB3, 0x14, 0x00, 0xF0, 0x00, 0x00, 0x01,
                      0xB5, 0x11, 0x00, 0x00, 0x01, 0xB8, 0x00, 0x08, 0x00, 0x00};
  const auto range = FindMpegSequenceHeader(data.data(), data.size());
  ASSERT_TRUE(range.has_value());
  EXPECT_EQ(range->offset, 0U);
  EXPECT_EQ(range->length, 12U);
}

TEST(CodecPrivateTest, SequenceHeaderEdgeCases) {
  // Without an end the header runs to the end of the data.
  const Bytes open = {0xAA, 0x00, 0x00, 0x01, 0xB3, 0x01, 0x02};
  auto range = FindMpegSequenceHeader(open.data(), open.size());
  ASSERT_TRUE(range.has_value());
  EXPECT_EQ(range->offset, 1U);
  EXPECT_EQ(range->length, 6U);
  // A later sequence header start moves the start.
  const Bytes twice = {0x00, 0x00, 0x01, 0xB3, 0x00, 0x00, 0x01, 0xB3, 0x07, 0x00};
  range = FindMpegSequenceHeader(twice.data(), twice.size());
  ASSERT_TRUE(range.has_value());
  EXPECT_EQ(range->offset, 4U);
  // No header, or fewer than 4 bytes.
  const Bytes none = {0x00, 0x00, 0x01, 0x00, 0x00};
  EXPECT_FALSE(FindMpegSequenceHeader(none.data(), none.size()).has_value());
  EXPECT_FALSE(FindMpegSequenceHeader(twice.data(), 3).has_value());
}

}  // namespace
}  // namespace kx
