#include "src/ebml/colour.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

TEST(ColourTest, DefaultsAndEmptyMasteringMetadata) {
  const Bytes expected =
      Hex("55 B0 9F 55 B1 81 01 55 B2 81 00 55 B7 81 00 55 B8 81 00"
          "55 B9 81 01 55 BA 81 01 55 BB 81 01 55 D0 80");
  EXPECT_EQ(expected.size(), 34U);
  EXPECT_EQ(Written(MatroskaWriter::Colour()), expected);
}

TEST(ColourTest, WritesEveryChildInItsFixedOrder) {
  MatroskaWriter::Colour colour;
  colour.mastering_metadata.luminance_min.Set(0.5F);
  colour.max_fall.Set(2);
  colour.max_cll.Set(3);
  colour.primaries.Set(9);
  colour.transfer_characteristics.Set(16);
  colour.range.Set(2);
  colour.chroma_siting_vert.Set(2);
  colour.chroma_siting_horz.Set(1);
  colour.cb_subsampling_vert.Set(4);
  colour.cb_subsampling_horz.Set(5);
  colour.chroma_subsampling_vert.Set(6);
  colour.chroma_subsampling_horz.Set(7);
  colour.bits_per_channel.Set(10);
  colour.matrix_coefficients.Set(9);
  EXPECT_EQ(Written(colour), Hex("55 B0 BE"
                                 "55 B1 81 09 55 B2 81 0A 55 B3 81 07 55 B4 81 06"
                                 "55 B5 81 05 55 B6 81 04 55 B7 81 01 55 B8 81 02"
                                 "55 B9 81 02 55 BA 81 10 55 BB 81 09 55 BC 81 03"
                                 "55 BD 81 02 55 D0 87 55 DA 84 3F 00 00 00"));
}

TEST(ColourTest, MasteringMetadataOrder) {
  MatroskaWriter::MasteringMetadata metadata;
  metadata.luminance_max.Set(1000.0F);
  metadata.white_point_chromaticity_x.Set(0.5F);
  metadata.primary_r_chromaticity_x.Set(1.0F);
  EXPECT_EQ(Written(metadata), Hex("55 D0 95 55 D1 84 3F 80 00 00 55 D7 84 3F 00 00 00"
                                   "55 D9 84 44 7A 00 00"));
}

}  // namespace
}  // namespace kx::test
