#include "src/ebml/cluster.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::BlockGroup;
using MatroskaWriter::Cluster;
using MatroskaWriter::SimpleBlock;

std::unique_ptr<SimpleBlock> Simple(uint8_t byte) {
  auto block = std::make_unique<SimpleBlock>();
  block->track_number = 1;
  block->keyframe = 1;
  block->frames.push_back({byte});
  return block;
}

TEST(ClusterTest, EmptyClusterWithTimecode) {
  Cluster cluster;
  EXPECT_FALSE(cluster.HasBlocks());
  cluster.timecode.Set(0);
  EXPECT_EQ(Written(cluster), Hex("1F 43 B6 75 83 E7 81 00"));
}

TEST(ClusterTest, BlockGroupsComeBeforeSimpleBlocks) {
  Cluster cluster;
  cluster.timecode.Set(1000);
  cluster.prev_size.Set(5);
  cluster.position.Set(0);
  cluster.simple_blocks.Append(Simple(0x01));
  cluster.simple_blocks.Append(Simple(0x02));
  auto group = std::make_unique<BlockGroup>();
  group->block.track_number = 2;
  group->block.frames.push_back({0x03});
  cluster.block_groups.Append(std::move(group));
  EXPECT_TRUE(cluster.HasBlocks());

  EXPECT_EQ(Written(cluster), Hex("1F 43 B6 75 A9 E7 82 03 E8 A7 81 00 AB 81 05"
                                  "A0 8F A1 85 82 00 00 00 03 75 A1 85 A6 83 EE 81 01"
                                  "A3 85 81 00 00 80 01 A3 85 81 00 00 80 02"));

  cluster.ClearBlocks();
  EXPECT_FALSE(cluster.HasBlocks());
  EXPECT_EQ(Written(cluster), Hex("1F 43 B6 75 8A E7 82 03 E8 A7 81 00 AB 81 05"));
}

TEST(ClusterTest, ABlockWithoutCodingMakesTheWholeClusterRefuseToWrite) {
  Cluster cluster;
  cluster.timecode.Set(0);
  cluster.simple_blocks.Append(Simple(0x01));
  auto group = std::make_unique<BlockGroup>();
  group->block.frames.assign(257, {0x00});  // more than lacing can count
  cluster.block_groups.Append(std::move(group));

  MemoryStream stream;
  EXPECT_EQ(cluster.Write(stream), MatroskaWriter::kNotCodable);
  EXPECT_TRUE(stream.bytes().empty());  // no size field that the content would contradict

  cluster.block_groups.Clear();
  EXPECT_EQ(cluster.Write(stream), 0);
}

}  // namespace
}  // namespace kx::test
