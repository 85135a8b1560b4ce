// The size coding every element shares, through the Void filler that pads
// the reserved area: every length is coded in the narrowest width whose
// all-ones pattern (the "unknown size" marker) it avoids, and every gap of
// two bytes or more can be covered exactly. Then the Cluster and the Cues,
// which code their children as they are added.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "src/ebml/cluster.h"
#include "src/ebml/cues.h"
#include "src/ebml/seek.h"
#include "src/ebml/void_element.h"

namespace kx::test {
namespace {

struct Bytes : IStream, std::vector<uint8_t> {
  int32_t Read(void* /*buffer*/, uint32_t /*size*/, uint32_t* /*done*/) override { return -1; }
  int32_t Write(const void* data, uint32_t size, uint32_t* /*done*/) override {
    insert(end(), static_cast<const uint8_t*>(data), static_cast<const uint8_t*>(data) + size);
    return kOk;
  }
  int32_t SeekTo(int64_t /*offset*/, uint32_t /*origin*/, uint64_t* /*result*/) override {
    return -1;
  }
};

TEST(EbmlSize, VoidLengthsAndWidthsReadBack) {
  for (uint64_t length = 0; length < 20000; ++length) {
    for (const int width : {0, 1, 2, 3, 8}) {
      Bytes b;
      MatroskaWriter::Void filler(length, width);
      ASSERT_EQ(filler.Write(b), 0) << length;
      ASSERT_GE(b.size(), 2U);
      ASSERT_EQ(b[0], 0xEC);
      int n = 1;  // the size field's width: one more than its leading zero bits
      while (n <= 8 && (b[1] & (0x80 >> (n - 1))) == 0) ++n;
      uint64_t value = b[1] & ((0x80 >> (n - 1)) - 1);
      for (int i = 1; i < n; ++i) value = value << 8 | b[1 + i];
      const int minimal = length < 127 ? 1 : length < 16383 ? 2 : 3;
      EXPECT_EQ(n, std::max(width, minimal)) << length << " " << width;
      EXPECT_EQ(value, length) << length << " " << width;
      EXPECT_EQ(b.size(), 1 + n + length) << length;
      EXPECT_EQ(filler.Size(true), b.size()) << length;
    }
  }
}

// Blocks, cue points and index entries are coded the moment they join their
// Cluster, the Cues or a SeekHead: each must contribute exactly what its own
// Write gives, block groups before simple blocks whatever the order they
// came in.
TEST(EbmlCoding, ListsHoldWhatTheirChildrenWrite) {
  using namespace MatroskaWriter;  // NOLINT(google-build-using-namespace)
  const auto simple = [](std::vector<uint8_t> frame) {
    SimpleBlock block;
    block.track_number = 1;
    block.keyframe = 1;
    block.frames.push_back(std::move(frame));
    return block;
  };
  SimpleBlock small = simple({1, 2, 3});
  SimpleBlock large = simple(std::vector<uint8_t>(5000, 7));  // taken over, not copied
  BlockGroup group;
  group.block.track_number = 1;
  group.block.frames.push_back({9, 8, 7});
  const std::vector<uint8_t> small_bytes = {0xA3, 0x87, 0x81, 0, 0, 0x80, 1, 2, 3};
  const std::vector<uint8_t> group_bytes = {0xA0, 0x91, 0xA1, 0x87, 0x81, 0,    0,    0,    9, 8,
                                            7,    0x75, 0xA1, 0x85, 0xA6, 0x83, 0xEE, 0x81, 1};
  Bytes large_bytes;
  large.Write(large_bytes);
  Bytes walked_group;  // the walk over the group's children gives the same bytes
  group.Write(walked_group);
  EXPECT_EQ(static_cast<std::vector<uint8_t>&>(walked_group), group_bytes);

  Cluster cluster;
  cluster.timecode.Set(0);
  cluster.Add(small);
  cluster.Add(large);
  cluster.Add(group);
  std::vector<uint8_t> payload = {0xE7, 0x81, 0};
  for (const auto* part :
       {&group_bytes, &small_bytes, static_cast<const std::vector<uint8_t>*>(&large_bytes)}) {
    payload.insert(payload.end(), part->begin(), part->end());
  }
  Bytes out;
  cluster.Write(out);
  std::vector<uint8_t> expected = {0x1F,
                                   0x43,
                                   0xB6,
                                   0x75,  // a two-byte size field
                                   static_cast<uint8_t>(0x40 | payload.size() >> 8),
                                   static_cast<uint8_t>(payload.size())};
  expected.insert(expected.end(), payload.begin(), payload.end());
  EXPECT_TRUE(static_cast<std::vector<uint8_t>&>(out) == expected);
  EXPECT_EQ(cluster.Size(true), out.size());

  // The Cues and a SeekHead: their ID, then their entries' own bytes.
  const auto holds = [](const CID& list, std::vector<uint8_t> expected,
                        const std::vector<const CID*>& entries) {
    Bytes body;
    for (const CID* entry : entries) {
      entry->Write(body);
    }
    expected.push_back(static_cast<uint8_t>(0x80 | body.size()));
    expected.insert(expected.end(), body.begin(), body.end());
    Bytes out;
    list.Write(out);
    return static_cast<std::vector<uint8_t>&>(out) == expected;
  };
  CuePoint point;
  point.cue_time.Set(1000);
  point.positions.Append(std::make_unique<CueTrackPosition>());
  point.positions.front().cue_track.Set(1);
  point.positions.front().cue_cluster_position.Set(70000);
  point.positions.front().cue_block_number.Set(3);
  Cue cues;
  cues.Add(point);
  EXPECT_TRUE(holds(cues, {0x1C, 0x53, 0xBB, 0x6B}, {&point}));

  SeekHead info;
  info.seek_id.target.set_id(ids::kInfo);
  info.seek_position.Set(4099);
  SeekHead cluster_entry;
  cluster_entry.seek_id.target.set_id(ids::kCluster);
  cluster_entry.seek_position.Set(uint64_t{1} << 33);
  Seek seek;
  seek.Add(info);
  seek.Add(cluster_entry);
  EXPECT_TRUE(holds(seek, {0x11, 0x4D, 0x9B, 0x74}, {&info, &cluster_entry}));
  EXPECT_EQ(seek.RemoveFirst(), info.Size(true));
  EXPECT_TRUE(holds(seek, {0x11, 0x4D, 0x9B, 0x74}, {&cluster_entry}));
}

}  // namespace
}  // namespace kx::test
