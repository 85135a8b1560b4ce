#include "src/mkv/matroska_stream.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace kx {
namespace {

using Bytes = std::vector<uint8_t>;

const Bytes kFrame = {1, 2, 3};

std::unique_ptr<MatroskaStream> VideoStream(const char* codec_id, bool simple = false) {
  auto stream = std::make_unique<MatroskaStream>(simple);
  stream->BeginSetup(2, kVideoTrackType);
  stream->entry().codec_id.SetText(codec_id);
  return stream;
}

TEST(MatroskaStreamTest, ReferenceBlockPointsAtThePreviousFrame) {
  auto owner_stream = VideoStream("V_MPEG4/ISO/AVC");
  MatroskaStream& stream = *owner_stream;
  // Key frame at 0: no reference.
  stream.AddFrame(kFrame.data(), 3, 0, 400000, 1);
  // Non-key frame 40 ms later: -40.
  stream.AddFrame(kFrame.data(), 3, 400000, 800000, 0);
  // Key frame at the same start as its predecessor: 0.
  stream.AddFrame(kFrame.data(), 3, 400000, 800000, 1);
  // Key frame later: none.
  stream.AddFrame(kFrame.data(), 3, 800000, 1200000, 1);
  // Earlier non-key frame (B-frame order): positive, rounded half away from zero.
  stream.AddFrame(kFrame.data(), 3, 785000, 1200000, 0);
  const auto& queue = stream.queue();
  ASSERT_EQ(queue.size(), 5U);
  EXPECT_EQ(queue[0].reference(), 0);
  EXPECT_EQ(queue[1].reference(), -40);
  EXPECT_EQ(queue[2].reference(), 0);
  EXPECT_EQ(queue[3].reference(), 0);
  EXPECT_EQ(queue[4].reference(), 2);  // 15 000 ticks = 1.5 ms -> 2
  EXPECT_EQ(queue[1].block().start, 40);
  EXPECT_EQ(queue[1].block().end, 80);
  EXPECT_EQ(queue[1].block().track_number, 2U);
  EXPECT_EQ(queue[1].block().keyframe, 0);
  EXPECT_EQ(queue[1].block().frames.at(0), kFrame);
}

TEST(MatroskaStreamTest, StartsRoundToMilliseconds) {
  auto owner_stream = VideoStream("V_VP9");
  MatroskaStream& stream = *owner_stream;
  stream.AddFrame(kFrame.data(), 3, 14999, 15000, 1);
  stream.AddFrame(kFrame.data(), 3, 15000, 15001, 1);
  stream.AddFrame(kFrame.data(), 3, -15000, -14999, 1);
  EXPECT_EQ(stream.queue()[0].block().start, 1);
  EXPECT_EQ(stream.queue()[1].block().start, 2);
  EXPECT_EQ(stream.queue()[2].block().start, -1);
}

TEST(MatroskaStreamTest, RefusesEmptyAndNegativeFrames) {
  auto owner_stream = VideoStream("V_VP9");
  MatroskaStream& stream = *owner_stream;
  EXPECT_EQ(stream.AddFrame(kFrame.data(), 0, 0, 1, 1), 0);
  EXPECT_EQ(stream.AddFrame(kFrame.data(), -3, 0, 1, 1), 0);
  EXPECT_EQ(stream.AddFrame(nullptr, 3, 0, 1, 1), 0);
  EXPECT_TRUE(stream.queue().empty());
}

TEST(MatroskaStreamTest, FirstFrameReservesCodecPrivate) {
  const struct {
    uint64_t type;
    const char* codec_id;
    size_t reserved;
  } cases[] = {{kVideoTrackType, "V_MPEG4/ISO/AVC", 1024},
               {kVideoTrackType, "V_MPEGH/ISO/HEVC", 1024},
               {kAudioTrackType, "A_AAC", 1024},
               {kAudioTrackType, "A_VORBIS", 10240},
               {kAudioTrackType, "A_OPUS", 0},
               {kVideoTrackType, "V_VP8", 0}};
  for (const auto& c : cases) {
    MatroskaStream stream;
    stream.BeginSetup(1, c.type);
    stream.entry().codec_id.SetText(c.codec_id);
    stream.AddFrame(kFrame.data(), 3, 0, 1, 1);
    EXPECT_EQ(stream.entry().codec_private.length(), c.reserved) << c.codec_id;
  }
  // Data that arrived first is kept.
  auto owner_stream = VideoStream("V_MPEG4/ISO/AVC");
  MatroskaStream& stream = *owner_stream;
  stream.entry().codec_private.Assign(kFrame.data(), 3);
  stream.AddFrame(kFrame.data(), 3, 0, 1, 1);
  EXPECT_EQ(stream.entry().codec_private.bytes(), kFrame);
}

TEST(MatroskaStreamTest, MpegVideoTakesTheSequenceHeaderFromTheFrame) {
  auto owner_stream = VideoStream("V_MPEG2");
  MatroskaStream& stream = *owner_stream;
  const Bytes picture = {0x00, 0x00, 0x01, 0x00, 0x11};
  stream.AddFrame(picture.data(), 5, 0, 1, 1);
  EXPECT_TRUE(stream.entry().codec_private.empty());
  const Bytes frame = {0x00, 0x00, 0x01, 0xB3, 0x22, 0x33, 0x00, 0x00, 0x01, 0x00, 0x44};
  stream.AddFrame(frame.data(), 11, 0, 1, 1);
  EXPECT_EQ(stream.entry().codec_private.bytes(), (Bytes{0x00, 0x00, 0x01, 0xB3, 0x22, 0x33}));
}

TEST(MatroskaStreamTest, WebmTracksMakeSimpleBlocksUnlessTheyCarryAdditions) {
  auto owner_simple = VideoStream("V_VP9", true);
  MatroskaStream& simple = *owner_simple;
  simple.AddFrame(kFrame.data(), 3, 0, 1, 0);
  EXPECT_EQ(simple.queue()[0].reference(), 0);
  EXPECT_EQ(simple.entry().flag_lacing.Value(), 1U);
  EXPECT_EQ(simple.entry().flag_default.Value(), 1U);

  MatroskaStream with_alpha(true, true);
  with_alpha.BeginSetup(1, kVideoTrackType);
  const Bytes alpha = {9, 9};
  with_alpha.AddFrame(kFrame.data(), 3, 0, 1, 1, alpha.data(), 2);
  MatroskaWriter::Cluster cluster;
  QueuedBlock block = std::move(with_alpha.queue().front());
  std::move(block).MoveInto(cluster);
  ASSERT_EQ(cluster.block_groups.size(), 1U);
  EXPECT_TRUE(cluster.simple_blocks.empty());
  EXPECT_EQ(cluster.block_groups.front().block_additions.block_more.block_additional.bytes(),
            alpha);
}

}  // namespace
}  // namespace kx
