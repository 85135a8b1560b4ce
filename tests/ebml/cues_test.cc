#include "src/ebml/cues.h"

#include <gtest/gtest.h>

#include <memory>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

using MatroskaWriter::Cue;
using MatroskaWriter::CuePoint;
using MatroskaWriter::CueTrackPosition;

std::unique_ptr<CueTrackPosition> Position(uint64_t track, uint64_t cluster) {
  auto position = std::make_unique<CueTrackPosition>();
  position->cue_track.Set(track);
  position->cue_cluster_position.Set(cluster);
  return position;
}

TEST(CuesTest, EmptyMastersAreStillWritten) {
  EXPECT_EQ(Written(CuePoint()), Hex("BB 80"));
  EXPECT_EQ(Written(Cue()), Hex("1C 53 BB 6B 80"));
  EXPECT_EQ(Written(CueTrackPosition()), Hex("B7 80"));
}

TEST(CuesTest, TrackPositionWritesItsChildrenInOrder) {
  EXPECT_EQ(Written(*Position(1, 0)), Hex("B7 86 F7 81 01 F1 81 00"));

  CueTrackPosition position;
  position.cue_codec_state.Set(0);
  position.cue_block_number.Set(3);
  position.cue_cluster_position.Set(0x1234);
  position.cue_track.Set(2);
  EXPECT_EQ(Written(position), Hex("B7 8E F7 81 02 F1 82 12 34 53 78 81 03 EA 81 00"));
}

TEST(CuesTest, CueTimeComesBeforeThePositions) {
  Cue cues;
  auto point = std::make_unique<CuePoint>();
  point->positions.Append(Position(1, 0));
  point->positions.Append(Position(2, 0));
  point->cue_time.Set(300);
  cues.points.Append(std::move(point));
  auto second = std::make_unique<CuePoint>();
  second->cue_time.Set(0);
  cues.points.Append(std::move(second));

  EXPECT_EQ(Written(cues), Hex("1C 53 BB 6B 9B"
                               "BB 94 B3 82 01 2C B7 86 F7 81 01 F1 81 00 B7 86 F7 81 02 F1 81 00"
                               "BB 83 B3 81 00"));
}

}  // namespace
}  // namespace kx::test
