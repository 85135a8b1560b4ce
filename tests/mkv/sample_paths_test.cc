#include "src/mkv/sample_paths.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace kx {
namespace {

using Bytes = std::vector<uint8_t>;

std::unique_ptr<MatroskaStream> Track() {
  auto stream = std::make_unique<MatroskaStream>();
  stream->BeginSetup(2, kVideoTrackType);
  stream->entry().codec_id.SetText("V_MPEG4/ISO/AVC");
  return stream;
}

Bytes Frame(const MatroskaStream& stream, size_t i) {
  return stream.queue()[i].block().frames.at(0);
}

TEST(NalUnitPathTest, EachSliceBecomesALengthPrefixedBlock) {
  Bytes data = {0, 0, 0, 1, 0x67, 0xAA,        // SPS: dropped
                0, 0, 0, 1, 0x65, 0x01, 0x02,  // IDR slice
                0, 0, 0, 1, 0x06, 0x05,        // SEI: dropped
                0, 0, 0, 1, 0x41, 0x03};       // non-IDR slice
  auto owner = Track();
  MatroskaStream& track = *owner;
  EXPECT_EQ(AddNalUnitSlices(track, data.data(), static_cast<int32_t>(data.size()), 0, 400000),
            7 + 6);
  ASSERT_EQ(track.queue().size(), 2U);
  EXPECT_EQ(Frame(track, 0), (Bytes{0, 0, 0, 3, 0x65, 0x01, 0x02}));
  EXPECT_EQ(Frame(track, 1), (Bytes{0, 0, 0, 2, 0x41, 0x03}));
  EXPECT_EQ(track.queue()[0].block().keyframe, 1);
  EXPECT_EQ(track.queue()[1].block().keyframe, 0);
  EXPECT_EQ(track.queue()[1].block().start, 0);  // all slices carry the picture's time
  // The start codes were overwritten in the host's buffer.
  EXPECT_EQ(data[6], 0);
  EXPECT_EQ(data[9], 3);
}

TEST(NalUnitPathTest, ShortUnitsAndLeadingBytesAreSafe) {
  // A unit ending within five bytes of its start code has no type: dropped.
  Bytes short_unit = {0, 0, 0, 1};
  auto owner = Track();
  MatroskaStream& track = *owner;
  EXPECT_EQ(AddNalUnitSlices(track, short_unit.data(), 4, 0, 1), 0);
  // Bytes before the first start code are skipped.
  Bytes leading = {0x99, 0x98, 0, 0, 0, 1, 0x65, 0x07};
  EXPECT_EQ(AddNalUnitSlices(track, leading.data(), 8, 0, 1), 6);
  EXPECT_EQ(Frame(track, 0), (Bytes{0, 0, 0, 2, 0x65, 0x07}));
}

TEST(ConversionPathTest, KeepsSlicesParameterSetsAndDelimiters) {
  const Bytes data = {0, 0, 0, 1,    0x09, 0xF0,   // AUD: kept
                      0, 0, 1, 0x67, 0x42,         // SPS, 3-byte start code: kept
                      0, 0, 0, 1,    0x06, 0x01,   // SEI: dropped
                      0, 0, 1, 0x65, 0x88, 0x99};  // IDR slice
  auto owner = Track();
  MatroskaStream& track = *owner;
  Bytes buffer;
  const int32_t result = AddAnnexBAsLengthPrefixed(
      track, data.data(), static_cast<int32_t>(data.size()), 0, 400000, 1, buffer);
  const Bytes expected = {0,    0,    0, 2, 0x09, 0xF0, 0,    0,    0,   2,
                          0x67, 0x42, 0, 0, 0,    3,    0x65, 0x88, 0x99};
  EXPECT_EQ(result, static_cast<int32_t>(expected.size()));
  ASSERT_EQ(track.queue().size(), 1U);
  EXPECT_EQ(Frame(track, 0), expected);
  EXPECT_EQ(track.queue()[0].block().keyframe, 1);
}

TEST(ConversionPathTest, NothingKeptQueuesNothing) {
  const Bytes sei_only = {0, 0, 0, 1, 0x06, 0x01, 0x02};
  auto owner = Track();
  MatroskaStream& track = *owner;
  Bytes buffer;
  EXPECT_EQ(AddAnnexBAsLengthPrefixed(track, sei_only.data(), 7, 0, 1, 0, buffer), 0);
  EXPECT_TRUE(track.queue().empty());
}

TEST(StartCodeTest, FoundOnlyBeforeTheLastFourBytes) {
  const Bytes early = {0, 0, 1, 0x65, 0, 0};
  EXPECT_TRUE(ContainsStartCode(early.data(), 6));
  const Bytes late = {0x11, 0x22, 0, 0, 1, 0x65};
  EXPECT_FALSE(ContainsStartCode(late.data(), 6));
  EXPECT_FALSE(ContainsStartCode(nullptr, 6));
}

MediaSample AudioSample(Bytes& data, int64_t start, int32_t duration) {
  MediaSample sample{};
  sample.audioData = data.data();
  sample.audioSize = static_cast<int32_t>(data.size());
  sample.start = start;
  sample.duration = duration;
  return sample;
}

TEST(AudioFramesTest, FrameTableSpreadsFramesOverTheDuration) {
  Bytes data = {1, 2, 3, 4, 5, 6};
  MediaSample sample = AudioSample(data, 1000000, 1000000);  // 100 ms
  // A table of three frames: 1, 2 and 3 bytes.
  const uint32_t table[] = {3, 1, 2, 3};
  MatroskaStream track;
  track.BeginSetup(3, kAudioTrackType);
  EXPECT_EQ(AddAudioFrames(track, sample, reinterpret_cast<const FrameSizeTable*>(table), 1), 6);
  ASSERT_EQ(track.queue().size(), 3U);
  EXPECT_EQ(track.queue()[0].block().start, 100);
  EXPECT_EQ(track.queue()[1].block().start, 133);
  EXPECT_EQ(track.queue()[2].block().start, 167);  // 1 666 666 ticks
  EXPECT_EQ(track.queue()[2].block().end, 200);
  EXPECT_EQ(Frame(track, 1), (Bytes{2, 3}));
  EXPECT_EQ(Frame(track, 2), (Bytes{4, 5, 6}));
}

TEST(AudioFramesTest, RefusesTablesThatRunPastTheSample) {
  Bytes data = {1, 2, 3};
  MediaSample sample = AudioSample(data, 0, 100);
  MatroskaStream track;
  track.BeginSetup(3, kAudioTrackType);
  const uint32_t too_long[] = {2, 2, 2};
  EXPECT_EQ(AddAudioFrames(track, sample, reinterpret_cast<const FrameSizeTable*>(too_long), 1), 0);
  const uint32_t huge[] = {2, 0xFFFFFFFF, 0xFFFFFFFF};
  EXPECT_EQ(AddAudioFrames(track, sample, reinterpret_cast<const FrameSizeTable*>(huge), 1), 0);
  const int32_t empty[] = {0};
  EXPECT_EQ(AddAudioFrames(track, sample, reinterpret_cast<const FrameSizeTable*>(empty), 1), 0);
  EXPECT_TRUE(track.queue().empty());
  // Without a table: one frame, at least one tick long.
  MediaSample zero = AudioSample(data, 0, 0);
  EXPECT_EQ(AddAudioFrames(track, zero, nullptr, 1), 3);
}

}  // namespace
}  // namespace kx
