#include "src/ebml/blocks.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CBlock;
using MatroskaWriter::SimpleBlock;

const Bytes kFrame = Hex("11 22 33");

SimpleBlock MakeSimple(uint64_t track, int64_t start, int32_t key) {
  SimpleBlock block;
  block.track_number = track;
  block.start = start;
  block.keyframe = key;
  block.frames.push_back(kFrame);
  return block;
}

TEST(BlocksTest, SimpleBlockFlagsAndRelativeTime) {
  EXPECT_EQ(Written(MakeSimple(1, 0, 1)), Join({Hex("A3 87 81 00 00 80"), kFrame}));
  EXPECT_EQ(Written(MakeSimple(1, -1, 0)), Join({Hex("A3 87 81 FF FF 00"), kFrame}));
  EXPECT_EQ(Written(MakeSimple(1, 300, 0)), Join({Hex("A3 87 81 01 2C 00"), kFrame}));
  // Only the low 16 bits of the time are coded; `end` is never written.
  SimpleBlock wrapped = MakeSimple(1, 0x10005, 1);
  wrapped.end = 123456;
  EXPECT_EQ(Written(wrapped), Join({Hex("A3 87 81 00 05 80"), kFrame}));
}

TEST(BlocksTest, TrackNumber127TakesTwoBytes) {
  EXPECT_EQ(Written(MakeSimple(126, 0, 1)), Join({Hex("A3 87 FE 00 00 80"), kFrame}));
  EXPECT_EQ(Written(MakeSimple(127, 0, 1)), Join({Hex("A3 88 40 7F 00 00 80"), kFrame}));
}

TEST(BlocksTest, BlockIgnoresTheKeyframeField) {
  CBlock block;
  block.track_number = 1;
  block.keyframe = 1;
  block.frames.push_back(kFrame);
  EXPECT_EQ(Written(block), Join({Hex("A1 87 81 00 00 00"), kFrame}));
}

TEST(BlocksTest, SeveralFramesAreXiphLaced) {
  CBlock block;
  block.track_number = 1;
  block.frames = {Bytes(300, 0xA1), Bytes(10, 0xB2), Bytes(5, 0xC3)};
  EXPECT_EQ(block.Size(false), 323U);
  EXPECT_EQ(Written(block), Join({Hex("A1 41 43 81 00 00 02 02 FF 2D 0A"), Bytes(300, 0xA1),
                                  Bytes(10, 0xB2), Bytes(5, 0xC3)}));

  // A size that is a multiple of 255 ends with a zero byte.
  block.frames = {Bytes(255, 1), Bytes(510, 2), Bytes(1, 3)};
  const Bytes written = Written(block);
  EXPECT_EQ(Bytes(written.begin() + 3, written.begin() + 13), Hex("81 00 00 02 02 FF 00 FF FF 00"));
}

TEST(BlocksTest, SimpleBlockWithSeveralFramesIsLacedToo) {
  SimpleBlock block = MakeSimple(1, 0, 1);
  block.frames.push_back(Hex("44"));
  EXPECT_EQ(Written(block), Join({Hex("A3 8A 81 00 00 82 01 03"), kFrame, Hex("44")}));
}

TEST(BlocksTest, LacingLimitIs256Frames) {
  CBlock block;
  block.track_number = 1;
  block.frames.assign(256, Hex("00"));
  const Bytes written = Written(block);
  EXPECT_EQ(written[7], 0xFF);  // lace count: frames less one

  block.frames.emplace_back(1, 0);
  MemoryStream stream;
  EXPECT_EQ(block.Write(stream), MatroskaWriter::kNotCodable);
  EXPECT_TRUE(stream.bytes().empty());
}

TEST(BlocksTest, LargeFramesGoStraightToTheStream) {
  SimpleBlock block;
  block.track_number = 1;
  block.frames.emplace_back(100000, 0x5A);
  MemoryStream stream;
  EXPECT_EQ(block.Write(stream), 0);
  EXPECT_EQ(stream.write_sizes(), (std::vector<uint32_t>{8, 100000}));
  EXPECT_EQ(Bytes(stream.bytes().begin(), stream.bytes().begin() + 8),
            Hex("A3 21 86 A4 81 00 00 00"));
}

}  // namespace
}  // namespace kx::test
