#include "src/ebml/video.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

const Bytes& DefaultColour() {
  static const Bytes colour = Written(MatroskaWriter::Colour());
  return colour;
}

TEST(VideoTest, ColourComesBeforeGammaAndFrameRate) {
  MatroskaWriter::Video video;
  video.frame_rate.Set(1.0F);
  video.gamma_value.Set(1.0F);
  video.colour_space.Set(1);
  video.aspect_ratio_type.Set(1);
  video.display_unit.Set(1);
  video.display_height.Set(1);
  video.display_width.Set(1);
  video.pixel_height.Set(1);
  video.pixel_width.Set(1);
  video.alpha_mode.Set(1);
  video.stereo_mode.Set(1);
  video.field_order.Set(1);
  video.flag_interlaced.Set(1);
  EXPECT_EQ(Written(video),
            Join({Hex("E0 DB 9A 81 01 9D 81 01 53 B8 81 01 53 C0 81 01 B0 81 01 BA 81 01"
                      "54 B0 81 01 54 BA 81 01 54 B2 81 01 54 B3 81 01 2E B5 24 81 01"),
                  DefaultColour(), Hex("2F B5 23 84 3F 80 00 00 23 83 E3 84 3F 80 00 00")}));
}

TEST(VideoTest, ProjectionOnlyWithTheSwitchOn) {
  MatroskaWriter::Video video;
  video.pixel_width.Set(640);
  video.projection.projection_type.Set(1);
  video.projection.projection_pose_roll.Set(1.0F);
  const Bytes without = Join({Hex("E0 A6 B0 82 02 80"), DefaultColour()});
  EXPECT_EQ(Written(video), without);

  video.projection_switch = 1;
  EXPECT_EQ(Written(video), Join({Hex("E0 B4 B0 82 02 80"), DefaultColour(),
                                  Hex("76 70 8B 76 71 81 01 76 75 84 3F 80 00 00")}));

  video.projection_switch = 0;
  EXPECT_EQ(Written(video), without);
}

TEST(VideoTest, ProjectionChildrenOrder) {
  MatroskaWriter::VRProjection projection;
  projection.projection_pose_roll.Set(0.0F);
  projection.projection_pose_pitch.Set(0.0F);
  projection.projection_pose_yaw.Set(0.0F);
  const Bytes data = Hex("AB CD");
  projection.projection_private.Assign(data.data(), data.size());
  projection.projection_type.Set(2);
  EXPECT_EQ(Written(projection), Hex("76 70 9E 76 71 81 02 76 72 82 AB CD"
                                     "76 73 84 00 00 00 00 76 74 84 00 00 00 00"
                                     "76 75 84 00 00 00 00"));
}

}  // namespace
}  // namespace kx::test
