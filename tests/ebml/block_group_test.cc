#include "src/ebml/block_group.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

using MatroskaWriter::BlockGroup;

const Bytes kFrame = Hex("11 22 33");

TEST(BlockGroupTest, BlockAloneStillEndsWithBlockAdditions) {
  BlockGroup group;
  group.block.track_number = 1;
  group.block.frames.push_back(kFrame);
  const Bytes expected =
      Join({Hex("A0 91 A1 87 81 00 00 00"), kFrame, Hex("75 A1 85 A6 83 EE 81 01")});
  EXPECT_EQ(expected.size(), 19U);
  EXPECT_EQ(Written(group), expected);
}

TEST(BlockGroupTest, WritesEveryChildInItsFixedOrder) {
  BlockGroup group;
  group.block_additions.block_more.block_additional.Assign(kFrame.data(), kFrame.size());
  group.block.track_number = 2;
  group.block.start = 40;
  group.block.frames.push_back(Hex("99"));
  group.codec_state.SetText("");
  group.reference_virtual.Set(7);
  group.reference_block.Set(-40);
  group.reference_priority.Set(0);
  group.block_duration.Set(40);
  EXPECT_EQ(Written(group), Hex("A0 A3 9B 81 28 FA 81 00 FB 81 D8 FD 81 07 A4 81 00"
                                "A1 85 82 00 28 00 99"
                                "75 A1 8A A6 88 EE 81 01 A5 83 11 22 33"));
}

}  // namespace
}  // namespace kx::test
