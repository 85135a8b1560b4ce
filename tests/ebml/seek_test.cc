#include "src/ebml/seek.h"

#include <gtest/gtest.h>

#include <memory>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

using MatroskaWriter::Seek;
using MatroskaWriter::SeekHead;
using MatroskaWriter::SeekID;

std::unique_ptr<SeekHead> Entry(uint32_t target, uint64_t position) {
  auto entry = std::make_unique<SeekHead>();
  entry->seek_id.target.set_id(target);
  entry->seek_position.Set(position);
  return entry;
}

TEST(SeekTest, SeekIdPayloadIsTheTargetsIdBytes) {
  SeekID seek_id;
  EXPECT_EQ(Written(seek_id), Hex("53 AB 80"));
  seek_id.target.set_id(MatroskaWriter::ids::kInfo);
  EXPECT_EQ(Written(seek_id), Hex("53 AB 84 15 49 A9 66"));
  seek_id.target.set_id(MatroskaWriter::ids::kCuePoint);
  EXPECT_EQ(Written(seek_id), Hex("53 AB 81 BB"));
}

TEST(SeekTest, EntryWithoutPositionHoldsOnlyItsSeekId) {
  SeekHead entry;
  entry.seek_id.target.set_id(MatroskaWriter::ids::kInfo);
  EXPECT_EQ(Written(entry), Hex("4D BB 87 53 AB 84 15 49 A9 66"));
  entry.seek_position.Set(4099);
  EXPECT_EQ(Written(entry), Hex("4D BB 8C 53 AB 84 15 49 A9 66 53 AC 82 10 03"));
}

TEST(SeekTest, SeekHeadWritesEntriesInOrderAndShrinksWhenOneIsRemoved) {
  Seek seek_head;
  EXPECT_EQ(Written(seek_head), Hex("11 4D 9B 74 80"));

  seek_head.entries.Append(Entry(MatroskaWriter::ids::kInfo, 0));
  seek_head.entries.Append(Entry(MatroskaWriter::ids::kTracks, 0x40));
  EXPECT_EQ(Written(seek_head), Hex("11 4D 9B 74 9C"
                                    "4D BB 8B 53 AB 84 15 49 A9 66 53 AC 81 00"
                                    "4D BB 8B 53 AB 84 16 54 AE 6B 53 AC 81 40"));

  const uint64_t before = seek_head.Size(true);
  const uint64_t first = seek_head.entries.front().Size(true);
  seek_head.entries.RemoveFirst();
  EXPECT_EQ(seek_head.Size(true), before - first);
  EXPECT_EQ(Written(seek_head), Hex("11 4D 9B 74 8E 4D BB 8B 53 AB 84 16 54 AE 6B 53 AC 81 40"));
}

}  // namespace
}  // namespace kx::test
