// VPS, SPS and PPS parses on hand-built bit strings: each parse must reach
// exactly the bit where the written syntax ends, and merge as H.265 streams
// with several parameter sets need.
#include "src/codec/hevc_parameter_sets.h"

#include <gtest/gtest.h>

#include "src/codec/emulation_prevention.h"
#include "tests/codec/hevc_bits_util.h"

namespace kx::codec {
namespace {

using test::BitWriter;
using test::Bytes;
using test::Ptl;

// Parses a NAL unit by its type; `end` receives the reader's final position
// in RBSP bits (the header counted).
bool Parse(const Bytes& nal, HEVCDecoderConfigurationRecord& record, uint32_t* end = nullptr) {
  Bytes rbsp(nal.size());
  uint32_t length = 0;
  remove_emulation_prevention(nal.data(), static_cast<uint32_t>(nal.size()), rbsp.data(), &length);
  BitReader r;
  EXPECT_TRUE(r.Init(rbsp.data(), length));
  r.SkipBits(16);
  bool ok = false;
  switch ((nal[0] >> 1) & 0x3F) {
    case 32:
      ok = ParseVps(r, record);
      break;
    case 33:
      ok = ParseSps(r, record);
      break;
    case 34:
      ok = ParsePps(r, record);
      break;
    default:
      ADD_FAILURE() << "not a parameter set";
  }
  if (end != nullptr) {
    *end = r.position();
  }
  return ok;
}

// The SPS parse stops after the VUI; only sps_extension_present_flag follows.
uint32_t SpsEnd(const BitWriter& w) { return static_cast<uint32_t>(16 + w.bits() - 1); }

TEST(ProfileTierLevelTest, LengthFollowsSubLayerCountAndFlags) {
  struct Case {
    uint32_t m;
    bool flags;
    uint32_t bits;
  };
  for (const Case c : {Case{0, false, 96}, Case{1, false, 112}, Case{7, false, 112},
                       Case{1, true, 112 + 96}, Case{7, true, 112 + 7 * 96}}) {
    BitWriter w;
    test::WritePtl(w, Ptl{}, c.m, c.flags);
    w.Ue(12345);
    const Bytes data = w.bytes();
    BitReader r;
    ASSERT_TRUE(r.Init(data.data(), static_cast<uint32_t>(data.size())));
    HEVCDecoderConfigurationRecord record;
    ParseProfileTierLevel(r, c.m, record);
    EXPECT_EQ(r.position(), c.bits) << c.m << c.flags;
    EXPECT_EQ(r.ReadUe(), 12345U);
    EXPECT_EQ(record.general_level_idc, 120);
    EXPECT_EQ(record.general_profile_compatibility_flags, 0x60000000U);
    EXPECT_EQ(record.general_constraint_indicator_flags, 0x900000000000U);
  }
}

TEST(ParameterSetMergeTest, LevelFollowsTheHigherTierInArrivalOrder) {
  const auto tier_level = [](uint8_t tier, uint8_t level) {
    Ptl ptl;
    ptl.tier = tier;
    ptl.level = level;
    return test::Sps(ptl);
  };
  const Bytes main120 = tier_level(0, 120);
  const Bytes high93 = tier_level(1, 93);
  const Bytes main90 = tier_level(0, 90);
  struct Case {
    Bytes first, second;
    uint8_t tier, level;
  };
  for (const Case& c : {Case{main120, high93, 1, 93}, Case{high93, main120, 1, 120},
                        Case{main120, main90, 0, 120}, Case{main90, main120, 0, 120}}) {
    HEVCDecoderConfigurationRecord record;
    ASSERT_TRUE(Parse(c.first, record));
    ASSERT_TRUE(Parse(c.second, record));
    EXPECT_EQ(record.general_tier_flag, c.tier);
    EXPECT_EQ(record.general_level_idc, c.level);
  }

  HEVCDecoderConfigurationRecord record;
  Ptl vps_ptl;
  vps_ptl.profile_space = 1;
  vps_ptl.profile_idc = 2;
  Ptl sps_ptl;
  sps_ptl.compatibility = 0x40000001;
  sps_ptl.constraints = 0x800000000001;
  ASSERT_TRUE(Parse(test::Vps(vps_ptl, 2), record));
  ASSERT_TRUE(Parse(test::Sps(sps_ptl), record));
  EXPECT_EQ(record.general_profile_space, 0);  // the last one wins
  EXPECT_EQ(record.general_profile_idc, 2);    // the largest
  EXPECT_EQ(record.general_profile_compatibility_flags, 0x40000000U);
  EXPECT_EQ(record.general_constraint_indicator_flags, 0x800000000000U);
  EXPECT_EQ(record.numTemporalLayers, 3);  // from the VPS's three sub-layers
}

TEST(SpsParseTest, TakesFormatValuesAndStopsAfterVui) {
  BitWriter w = test::SpsHead(Ptl{}, 0, 3, 2);  // 4:4:4 with separate_colour_plane_flag, 10 bit
  test::SpsTail(w);
  HEVCDecoderConfigurationRecord record;
  uint32_t end = 0;
  ASSERT_TRUE(Parse(w.Nal(33), record, &end));
  EXPECT_EQ(end, SpsEnd(w));
  EXPECT_EQ(record.chromaFormat, 3);
  EXPECT_EQ(record.bitDepthLumaMinus8, 2);
  EXPECT_EQ(record.bitDepthChromaMinus8, 2);
  EXPECT_EQ(record.temporalIdNested, 1);
  EXPECT_EQ(record.numTemporalLayers, 1);
  EXPECT_EQ(record.min_spatial_segmentation_idc, 4097);  // no VUI
}

TEST(SpsParseTest, SkipsScalingListsPcmReferenceSetsAndVuiBitExactly) {
  BitWriter w = test::SpsHead(Ptl{}, 0, 1, 0, 14);
  w.U(1, 1).U(1, 1);  // scaling_list_enabled_flag, sps_scaling_list_data_present_flag
  for (uint32_t size_id = 0; size_id < 4; ++size_id) {
    for (uint32_t matrix_id = 0; matrix_id < (size_id == 3 ? 2U : 6U); ++matrix_id) {
      if (matrix_id % 2 == 0) {
        w.U(1, 0).Ue(matrix_id);  // copied from a reference list
        continue;
      }
      w.U(1, 1);
      if (size_id > 1) {
        w.Ue(9);  // scaling_list_dc_coef_minus8
      }
      for (uint32_t i = 0; i < (size_id == 0 ? 16U : 64U); ++i) {
        w.Ue(i % 3);
      }
    }
  }
  w.U(2, 3);                                                // amp, sao
  w.U(1, 1).U(4, 7).U(4, 7).Ue(0).Ue(1).U(1, 0);            // pcm
  w.Ue(3);                                                  // num_short_term_ref_pic_sets
  w.Ue(2).Ue(1).Ue(0).U(1, 1).Ue(1).U(1, 1).Ue(0).U(1, 0);  // 0: three pictures
  w.U(1, 1).U(1, 0).Ue(0).U(1, 1).U(2, 1).U(2, 0).U(1, 1);  // 1: predicted, keeps three
  w.U(1, 1).U(1, 1).Ue(1).U(2, 1).U(1, 1).U(1, 1).U(1, 1);  // 2: predicted from three: four flags
  // Two long-term pictures; lt_ref_pic_poc_lsb_sps is never wider than 16 bits,
  // even for log2_max_pic_order_cnt_lsb_minus4 = 14.
  w.U(1, 1).Ue(2).U(16, 0x5A5A).U(1, 1).U(16, 0xA5A5).U(1, 0);
  w.U(2, 3).U(1, 1);  // tmvp, smoothing, VUI present
  BitWriter vui;
  vui.U(1, 1).U(8, 255).U(16, 4).U(16, 3);                // extended sample aspect ratio
  vui.U(1, 1).U(1, 0);                                    // overscan
  vui.U(1, 1).U(3, 5).U(1, 0).U(1, 1).U(24, 0x010101);    // video signal type, colour
  vui.U(1, 1).Ue(1).Ue(1).U(3, 0);                        // chroma location
  vui.U(1, 1).Ue(0).Ue(0).Ue(2).Ue(2);                    // default display window
  vui.U(1, 1).U(32, 1).U(32, 25).U(1, 1).Ue(0).U(1, 0);   // timing, no HRD
  vui.U(1, 1).U(3, 0).Ue(200).Ue(2).Ue(1).Ue(15).Ue(15);  // bitstream restriction
  w.Append(vui).U(1, 0);
  HEVCDecoderConfigurationRecord record;
  uint32_t end = 0;
  ASSERT_TRUE(Parse(w.Nal(33), record, &end));
  EXPECT_EQ(end, SpsEnd(w));
  EXPECT_EQ(record.min_spatial_segmentation_idc, 200);
}

// With fixed_pic_rate_general_flag set, fixed_pic_rate_within_cvs_flag is
// inferred, elemental_duration_in_tc_minus1 follows and low_delay_hrd_flag
// is absent.
TEST(SpsParseTest, HrdParametersPerSubLayer) {
  BitWriter w = test::SpsHead(Ptl{}, 1);
  BitWriter vui;
  vui.U(1, 0).U(1, 0).U(1, 0).U(1, 0).U(3, 0).U(1, 0);  // nothing up to the timing
  vui.U(1, 1).U(32, 1).U(32, 50).U(1, 0).U(1, 1);       // timing, HRD present
  vui.U(1, 1).U(1, 1).U(1, 1);                          // NAL and VCL HRD, sub-picture params
  vui.U(8, 0).U(5, 0).U(1, 0).U(5, 0).U(4, 0).U(4, 0).U(4, 0).U(15, 0x7FFF);
  const auto sub_layer_hrd = [&vui](uint32_t cpb_count) {
    for (uint32_t i = 0; i < cpb_count; ++i) {
      vui.Ue(1000).Ue(2000).Ue(100).Ue(200).U(1, 0);
    }
  };
  vui.U(1, 1).Ue(0).Ue(1);  // sub-layer 0: general fixed rate, cpb_cnt_minus1 = 1
  sub_layer_hrd(2);
  sub_layer_hrd(2);
  vui.U(1, 0).U(1, 0).U(1, 1);  // sub-layer 1: low delay, so one CPB
  sub_layer_hrd(1);
  sub_layer_hrd(1);
  vui.U(1, 1).U(3, 0).Ue(7).Ue(0).Ue(0).Ue(0).Ue(0);
  test::SpsTail(w, &vui);
  HEVCDecoderConfigurationRecord record;
  uint32_t end = 0;
  ASSERT_TRUE(Parse(w.Nal(33), record, &end));
  EXPECT_EQ(end, SpsEnd(w));
  EXPECT_EQ(record.min_spatial_segmentation_idc, 7);
  EXPECT_EQ(record.numTemporalLayers, 2);
  EXPECT_EQ(record.temporalIdNested, 1);

  // A VUI without bitstream restriction leaves the "none seen" value.
  BitWriter plain = test::SpsHead();
  BitWriter no_restriction;
  no_restriction.U(10, 0);
  test::SpsTail(plain, &no_restriction);
  HEVCDecoderConfigurationRecord other;
  ASSERT_TRUE(Parse(plain.Nal(33), other, &end));
  EXPECT_EQ(end, SpsEnd(plain));
  EXPECT_EQ(other.min_spatial_segmentation_idc, 4097);
}

TEST(SpsParseTest, FailsOnCountsBeyondRangeAndOnCutData) {
  const auto up_to_rps = [] { return test::SpsHead().U(1, 0).U(2, 3).U(1, 0); };
  const auto with_sets = [&](uint32_t count) {
    BitWriter w = up_to_rps().Ue(count);
    for (uint32_t i = 0; i < count; ++i) {
      (i == 0 ? w : w.U(1, 0)).Ue(0).Ue(0);
    }
    return w.U(1, 0).U(2, 3).U(1, 0).U(1, 0).Nal(33);
  };
  HEVCDecoderConfigurationRecord record;
  EXPECT_TRUE(Parse(with_sets(64), record));
  EXPECT_FALSE(Parse(with_sets(65), record));
  EXPECT_FALSE(Parse(up_to_rps().Ue(1).Ue(17).Ue(0).Nal(33), record));    // num_negative_pics
  EXPECT_FALSE(Parse(up_to_rps().Ue(0).U(1, 1).Ue(33).Nal(33), record));  // long-term pictures
  EXPECT_FALSE(Parse(up_to_rps().U(32, 0).U(1, 1).Nal(33), record));      // 32 leading zeros

  BitWriter hrd = test::SpsHead();
  BitWriter vui;
  vui.U(8, 0).U(1, 1).U(64, 0).U(1, 0).U(1, 1);  // timing, HRD present
  vui.U(1, 1).U(1, 0).U(1, 0).U(23, 0);          // NAL HRD only
  vui.U(1, 1).Ue(0).Ue(32);                      // cpb_cnt_minus1 = 32, and 33 CPBs
  for (int i = 0; i < 33; ++i) {
    vui.Ue(0).Ue(0).U(1, 0);
  }
  vui.U(1, 0);
  test::SpsTail(hrd, &vui);
  EXPECT_FALSE(Parse(hrd.Nal(33), record));

  // Every cut of a full SPS short of its VUI's end fails inside the data.
  BitWriter full = test::SpsHead();
  BitWriter restriction;
  restriction.U(9, 0).U(1, 1).U(3, 0).Ue(100).Ue(0).Ue(0).Ue(0).Ue(0);
  test::SpsTail(full, &restriction);
  const Bytes sps = full.Nal(33);
  const size_t needed = (SpsEnd(full) + 7) / 8;
  for (size_t size = 2; size < needed; ++size) {
    HEVCDecoderConfigurationRecord cut;
    EXPECT_FALSE(Parse(Bytes(sps.begin(), sps.begin() + static_cast<long>(size)), cut)) << size;
  }
}

TEST(VpsAndPpsParseTest, TemporalLayersAndParallelismType) {
  HEVCDecoderConfigurationRecord record;
  uint32_t end = 0;
  ASSERT_TRUE(Parse(test::Vps(Ptl{}, 3), record, &end));
  EXPECT_EQ(end, 48U + 112U);
  EXPECT_EQ(record.numTemporalLayers, 4);

  struct Case {
    bool tiles, wavefront;
    uint8_t type;
  };
  for (const Case c :
       {Case{true, true, 0}, Case{false, true, 3}, Case{true, false, 2}, Case{false, false, 1}}) {
    ASSERT_TRUE(Parse(test::Pps(c.tiles, c.wavefront), record));
    EXPECT_EQ(record.parallelismType, c.type);
  }
}

}  // namespace
}  // namespace kx::codec
