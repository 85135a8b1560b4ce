#include "src/codec/hevc_parameter_sets.h"

#include <algorithm>
#include <array>

namespace kx::codec {
namespace {

// H.265's limits on the counts that drive loops.
constexpr uint32_t kMaxShortTermRefPicSets = 64;  // num_short_term_ref_pic_sets
constexpr uint32_t kMaxDeltaPocsPerSide = 16;     // num_negative_pics, num_positive_pics
constexpr uint32_t kMaxLongTermRefPicsSps = 32;   // num_long_term_ref_pics_sps
constexpr uint32_t kMaxCpbCntMinus1 = 31;         // cpb_cnt_minus1
constexpr uint32_t kMaxSubLayers = 8;

using NumDeltaPocsTable = std::array<uint32_t, kMaxShortTermRefPicSets>;

struct ProfileTierLevel {
  uint8_t general_profile_space;
  uint8_t general_tier_flag;
  uint8_t general_profile_idc;
  uint32_t general_profile_compatibility_flags;
  uint64_t general_constraint_indicator_flags;
  uint8_t general_level_idc;
  std::array<bool, kMaxSubLayers> sub_layer_profile_present_flag;
  std::array<bool, kMaxSubLayers> sub_layer_level_present_flag;
};

struct HrdFlags {
  bool nal_hrd_parameters_present_flag;
  bool vcl_hrd_parameters_present_flag;
  bool sub_pic_hrd_params_present_flag;
};

uint8_t Low8(uint32_t value) { return static_cast<uint8_t>(value & 0xFF); }

void MergeProfileTierLevel(const ProfileTierLevel& ptl, HEVCDecoderConfigurationRecord& record) {
  record.general_profile_space = ptl.general_profile_space;
  // A higher tier brings its own level scale, so its level replaces the old
  // one; within the same tier the higher level is kept. This compares the
  // tier as it was before the merge below.
  if (record.general_tier_flag < ptl.general_tier_flag) {
    record.general_level_idc = ptl.general_level_idc;
  } else {
    record.general_level_idc = std::max(record.general_level_idc, ptl.general_level_idc);
  }
  record.general_tier_flag = std::max(record.general_tier_flag, ptl.general_tier_flag);
  record.general_profile_idc = std::max(record.general_profile_idc, ptl.general_profile_idc);
  record.general_profile_compatibility_flags &= ptl.general_profile_compatibility_flags;
  record.general_constraint_indicator_flags &= ptl.general_constraint_indicator_flags;
}

void MergeTemporalLayers(uint32_t max_sub_layers_minus1, HEVCDecoderConfigurationRecord& record) {
  record.numTemporalLayers =
      std::max(record.numTemporalLayers, static_cast<uint8_t>(max_sub_layers_minus1 + 1));
}

bool SubLayerHrdParameters(BitReader& r, uint32_t cpb_cnt_minus1, bool sub_pic_hrd_params) {
  for (uint32_t i = 0; i <= cpb_cnt_minus1 && r.ok(); ++i) {
    r.ReadUe();  // bit_rate_value_minus1[i]
    r.ReadUe();  // cpb_size_value_minus1[i]
    if (sub_pic_hrd_params) {
      r.ReadUe();  // cpb_size_du_value_minus1[i]
      r.ReadUe();  // bit_rate_du_value_minus1[i]
    }
    r.SkipBits(1);  // cbr_flag[i]
  }
  return r.ok();
}

// hrd_parameters(1, max_sub_layers_minus1): the common information is always
// present in the VUI.
bool HrdParameters(BitReader& r, uint32_t max_sub_layers_minus1) {
  HrdFlags hrd{};
  hrd.nal_hrd_parameters_present_flag = r.ReadBits(1) != 0;  // nal_hrd_parameters_present_flag
  hrd.vcl_hrd_parameters_present_flag = r.ReadBits(1) != 0;  // vcl_hrd_parameters_present_flag
  if (hrd.nal_hrd_parameters_present_flag || hrd.vcl_hrd_parameters_present_flag) {
    hrd.sub_pic_hrd_params_present_flag = r.ReadBits(1) != 0;  // sub_pic_hrd_params_present_flag
    if (hrd.sub_pic_hrd_params_present_flag) {
      r.SkipBits(8);  // tick_divisor_minus2
      r.SkipBits(5);  // du_cpb_removal_delay_increment_length_minus1
      r.SkipBits(1);  // sub_pic_cpb_params_in_pic_timing_sei_flag
      r.SkipBits(5);  // dpb_output_delay_du_length_minus1
    }
    r.SkipBits(4);  // bit_rate_scale
    r.SkipBits(4);  // cpb_size_scale
    if (hrd.sub_pic_hrd_params_present_flag) {
      r.SkipBits(4);  // cpb_size_du_scale
    }
    r.SkipBits(5);  // initial_cpb_removal_delay_length_minus1
    r.SkipBits(5);  // au_cpb_removal_delay_length_minus1
    r.SkipBits(5);  // dpb_output_delay_length_minus1
  }

  for (uint32_t i = 0; i <= max_sub_layers_minus1 && r.ok(); ++i) {
    const bool fixed_pic_rate_general_flag = r.ReadBits(1) != 0;  // fixed_pic_rate_general_flag[i]
    bool fixed_pic_rate_within_cvs_flag = true;  // inferred 1 when the general flag is set
    if (!fixed_pic_rate_general_flag) {
      fixed_pic_rate_within_cvs_flag = r.ReadBits(1) != 0;  // fixed_pic_rate_within_cvs_flag[i]
    }
    bool low_delay_hrd_flag = false;
    if (fixed_pic_rate_within_cvs_flag) {
      r.ReadUe();  // elemental_duration_in_tc_minus1[i]
    } else {
      low_delay_hrd_flag = r.ReadBits(1) != 0;  // low_delay_hrd_flag[i]
    }
    uint32_t cpb_cnt_minus1 = 0;
    if (!low_delay_hrd_flag) {
      cpb_cnt_minus1 = r.ReadUe();  // cpb_cnt_minus1[i]
      if (cpb_cnt_minus1 > kMaxCpbCntMinus1) {
        return false;
      }
    }
    if (hrd.nal_hrd_parameters_present_flag) {
      SubLayerHrdParameters(r, cpb_cnt_minus1, hrd.sub_pic_hrd_params_present_flag);
    }
    if (hrd.vcl_hrd_parameters_present_flag) {
      SubLayerHrdParameters(r, cpb_cnt_minus1, hrd.sub_pic_hrd_params_present_flag);
    }
  }
  return r.ok();
}

bool VuiParameters(BitReader& r, uint32_t max_sub_layers_minus1,
                   HEVCDecoderConfigurationRecord& record) {
  if (r.ReadBits(1) != 0) {  // aspect_ratio_info_present_flag
    const uint32_t aspect_ratio_idc = r.ReadBits(8);
    if (aspect_ratio_idc == 255) {  // EXTENDED_SAR
      r.SkipBits(16);               // sar_width
      r.SkipBits(16);               // sar_height
    }
  }
  if (r.ReadBits(1) != 0) {  // overscan_info_present_flag
    r.SkipBits(1);           // overscan_appropriate_flag
  }
  if (r.ReadBits(1) != 0) {    // video_signal_type_present_flag
    r.SkipBits(3);             // video_format
    r.SkipBits(1);             // video_full_range_flag
    if (r.ReadBits(1) != 0) {  // colour_description_present_flag
      r.SkipBits(8);           // colour_primaries
      r.SkipBits(8);           // transfer_characteristics
      r.SkipBits(8);           // matrix_coeffs
    }
  }
  if (r.ReadBits(1) != 0) {  // chroma_loc_info_present_flag
    r.ReadUe();              // chroma_sample_loc_type_top_field
    r.ReadUe();              // chroma_sample_loc_type_bottom_field
  }
  r.SkipBits(1);             // neutral_chroma_indication_flag
  r.SkipBits(1);             // field_seq_flag
  r.SkipBits(1);             // frame_field_info_present_flag
  if (r.ReadBits(1) != 0) {  // default_display_window_flag
    r.ReadUe();              // def_disp_win_left_offset
    r.ReadUe();              // def_disp_win_right_offset
    r.ReadUe();              // def_disp_win_top_offset
    r.ReadUe();              // def_disp_win_bottom_offset
  }
  if (r.ReadBits(1) != 0) {    // vui_timing_info_present_flag
    r.SkipBits(32);            // vui_num_units_in_tick
    r.SkipBits(32);            // vui_time_scale
    if (r.ReadBits(1) != 0) {  // vui_poc_proportional_to_timing_flag
      r.ReadUe();              // vui_num_ticks_poc_diff_one_minus1
    }
    if (r.ReadBits(1) != 0) {  // vui_hrd_parameters_present_flag
      if (!HrdParameters(r, max_sub_layers_minus1)) {
        return false;
      }
    }
  }
  if (r.ReadBits(1) != 0) {  // bitstream_restriction_flag
    r.SkipBits(1);           // tiles_fixed_structure_flag
    r.SkipBits(1);           // motion_vectors_over_pic_boundaries_flag
    r.SkipBits(1);           // restricted_ref_pic_lists_flag
    const uint32_t min_spatial_segmentation_idc = r.ReadUe();
    if (!r.ok()) {
      return false;
    }
    // The stored value never exceeds 4097, so the minimum fits its 16 bits.
    record.min_spatial_segmentation_idc = static_cast<uint16_t>(
        std::min<uint32_t>(record.min_spatial_segmentation_idc, min_spatial_segmentation_idc));
    r.ReadUe();  // max_bytes_per_pic_denom
    r.ReadUe();  // max_bits_per_min_cu_denom
    r.ReadUe();  // log2_max_mv_length_horizontal
    r.ReadUe();  // log2_max_mv_length_vertical
  }
  return r.ok();
}

void ScalingListData(BitReader& r) {
  for (uint32_t size_id = 0; size_id < 4; ++size_id) {
    const uint32_t matrix_count = size_id == 3 ? 2 : 6;
    for (uint32_t matrix_id = 0; matrix_id < matrix_count && r.ok(); ++matrix_id) {
      if (r.ReadBits(1) == 0) {  // scaling_list_pred_mode_flag[sizeId][matrixId]
        r.ReadUe();              // scaling_list_pred_matrix_id_delta[sizeId][matrixId]
      } else {
        const uint32_t coef_num = std::min(64U, 1U << (4 + (size_id << 1)));
        if (size_id > 1) {
          r.ReadUe();  // scaling_list_dc_coef_minus8[sizeId - 2][matrixId], se(v)
        }
        for (uint32_t i = 0; i < coef_num; ++i) {
          r.ReadUe();  // scaling_list_delta_coef, se(v)
        }
      }
    }
  }
}

// st_ref_pic_set(stRpsIdx) as it appears in the SPS, where the reference set
// of an inter-predicted one is always the one before it.
bool StRefPicSet(BitReader& r, uint32_t st_rps_idx, NumDeltaPocsTable& num_delta_pocs) {
  bool inter_ref_pic_set_prediction_flag = false;
  if (st_rps_idx != 0) {
    inter_ref_pic_set_prediction_flag = r.ReadBits(1) != 0;  // inter_ref_pic_set_prediction_flag
  }
  if (inter_ref_pic_set_prediction_flag) {
    r.SkipBits(1);  // delta_rps_sign
    r.ReadUe();     // abs_delta_rps_minus1
    num_delta_pocs[st_rps_idx] = 0;
    for (uint32_t j = 0; j <= num_delta_pocs[st_rps_idx - 1] && r.ok(); ++j) {
      const bool used_by_curr_pic_flag = r.ReadBits(1) != 0;  // used_by_curr_pic_flag[j]
      bool use_delta_flag = false;
      if (!used_by_curr_pic_flag) {
        use_delta_flag = r.ReadBits(1) != 0;  // use_delta_flag[j]
      }
      if (used_by_curr_pic_flag || use_delta_flag) {
        ++num_delta_pocs[st_rps_idx];
      }
    }
    return r.ok();
  }

  const uint32_t num_negative_pics = r.ReadUe();
  const uint32_t num_positive_pics = r.ReadUe();
  if (num_negative_pics > kMaxDeltaPocsPerSide || num_positive_pics > kMaxDeltaPocsPerSide) {
    return false;
  }
  num_delta_pocs[st_rps_idx] = num_negative_pics + num_positive_pics;
  for (uint32_t i = 0; i < num_negative_pics; ++i) {
    r.ReadUe();     // delta_poc_s0_minus1[i]
    r.SkipBits(1);  // used_by_curr_pic_s0_flag[i]
  }
  for (uint32_t i = 0; i < num_positive_pics; ++i) {
    r.ReadUe();     // delta_poc_s1_minus1[i]
    r.SkipBits(1);  // used_by_curr_pic_s1_flag[i]
  }
  return r.ok();
}

}  // namespace

void ParseProfileTierLevel(BitReader& r, uint32_t max_sub_layers_minus1,
                           HEVCDecoderConfigurationRecord& record) {
  const uint32_t m = std::min(max_sub_layers_minus1, kMaxSubLayers - 1);
  ProfileTierLevel ptl{};
  ptl.general_profile_space = Low8(r.ReadBits(2));  // general_profile_space
  ptl.general_tier_flag = Low8(r.ReadBits(1));      // general_tier_flag
  ptl.general_profile_idc = Low8(r.ReadBits(5));    // general_profile_idc
  // general_profile_compatibility_flag[j], j = 0..31
  ptl.general_profile_compatibility_flags = r.ReadBits(32);
  // general_progressive_source_flag to general_inbld_flag/general_reserved_zero_bit
  ptl.general_constraint_indicator_flags = r.ReadBits48();
  ptl.general_level_idc = Low8(r.ReadBits(8));  // general_level_idc
  MergeProfileTierLevel(ptl, record);

  for (uint32_t i = 0; i < m; ++i) {
    ptl.sub_layer_profile_present_flag[i] = r.ReadBits(1) != 0;
    ptl.sub_layer_level_present_flag[i] = r.ReadBits(1) != 0;
  }
  if (m > 0) {
    r.SkipBits(2 * (8 - m));  // reserved_zero_2bits[i] for i = m..7
  }
  for (uint32_t i = 0; i < m; ++i) {
    if (ptl.sub_layer_profile_present_flag[i]) {
      r.SkipBits(2);   // sub_layer_profile_space[i]
      r.SkipBits(1);   // sub_layer_tier_flag[i]
      r.SkipBits(5);   // sub_layer_profile_idc[i]
      r.SkipBits(32);  // sub_layer_profile_compatibility_flag[i][32]
      r.SkipBits(48);  // sub_layer constraint flags and reserved bits
    }
    if (ptl.sub_layer_level_present_flag[i]) {
      r.SkipBits(8);  // sub_layer_level_idc[i]
    }
  }
}

bool ParseVps(BitReader& r, HEVCDecoderConfigurationRecord& record) {
  r.SkipBits(4);  // vps_video_parameter_set_id
  r.SkipBits(1);  // vps_base_layer_internal_flag
  r.SkipBits(1);  // vps_base_layer_available_flag
  r.SkipBits(6);  // vps_max_layers_minus1
  const uint32_t vps_max_sub_layers_minus1 = r.ReadBits(3);
  MergeTemporalLayers(vps_max_sub_layers_minus1, record);
  r.SkipBits(1);   // vps_temporal_id_nesting_flag
  r.SkipBits(16);  // vps_reserved_0xffff_16bits
  ParseProfileTierLevel(r, vps_max_sub_layers_minus1, record);
  return r.ok();
}

bool ParseSps(BitReader& r, HEVCDecoderConfigurationRecord& record) {
  r.SkipBits(4);  // sps_video_parameter_set_id
  const uint32_t sps_max_sub_layers_minus1 = r.ReadBits(3);
  MergeTemporalLayers(sps_max_sub_layers_minus1, record);
  record.temporalIdNested = Low8(r.ReadBits(1));  // sps_temporal_id_nesting_flag
  ParseProfileTierLevel(r, sps_max_sub_layers_minus1, record);

  r.ReadUe();  // sps_seq_parameter_set_id
  const uint32_t chroma_format_idc = r.ReadUe();
  record.chromaFormat = Low8(chroma_format_idc);
  if (chroma_format_idc == 3) {
    r.SkipBits(1);  // separate_colour_plane_flag
  }
  r.ReadUe();                // pic_width_in_luma_samples
  r.ReadUe();                // pic_height_in_luma_samples
  if (r.ReadBits(1) != 0) {  // conformance_window_flag
    r.ReadUe();              // conf_win_left_offset
    r.ReadUe();              // conf_win_right_offset
    r.ReadUe();              // conf_win_top_offset
    r.ReadUe();              // conf_win_bottom_offset
  }
  record.bitDepthLumaMinus8 = Low8(r.ReadUe());    // bit_depth_luma_minus8
  record.bitDepthChromaMinus8 = Low8(r.ReadUe());  // bit_depth_chroma_minus8
  const uint32_t log2_max_pic_order_cnt_lsb_minus4 = r.ReadUe();

  const bool sps_sub_layer_ordering_info_present_flag = r.ReadBits(1) != 0;
  for (uint32_t i = sps_sub_layer_ordering_info_present_flag ? 0 : sps_max_sub_layers_minus1;
       i <= sps_max_sub_layers_minus1; ++i) {
    r.ReadUe();  // sps_max_dec_pic_buffering_minus1[i]
    r.ReadUe();  // sps_max_num_reorder_pics[i]
    r.ReadUe();  // sps_max_latency_increase_plus1[i]
  }

  r.ReadUe();  // log2_min_luma_coding_block_size_minus3
  r.ReadUe();  // log2_diff_max_min_luma_coding_block_size
  r.ReadUe();  // log2_min_luma_transform_block_size_minus2
  r.ReadUe();  // log2_diff_max_min_luma_transform_block_size
  r.ReadUe();  // max_transform_hierarchy_depth_inter
  r.ReadUe();  // max_transform_hierarchy_depth_intra

  if (r.ReadBits(1) != 0) {    // scaling_list_enabled_flag
    if (r.ReadBits(1) != 0) {  // sps_scaling_list_data_present_flag
      ScalingListData(r);
    }
  }
  r.SkipBits(1);             // amp_enabled_flag
  r.SkipBits(1);             // sample_adaptive_offset_enabled_flag
  if (r.ReadBits(1) != 0) {  // pcm_enabled_flag
    r.SkipBits(4);           // pcm_sample_bit_depth_luma_minus1
    r.SkipBits(4);           // pcm_sample_bit_depth_chroma_minus1
    r.ReadUe();              // log2_min_pcm_luma_coding_block_size_minus3
    r.ReadUe();              // log2_diff_max_min_pcm_luma_coding_block_size
    r.SkipBits(1);           // pcm_loop_filter_disabled_flag
  }

  const uint32_t num_short_term_ref_pic_sets = r.ReadUe();
  if (!r.ok() || num_short_term_ref_pic_sets > kMaxShortTermRefPicSets) {
    return false;
  }
  NumDeltaPocsTable num_delta_pocs{};
  for (uint32_t i = 0; i < num_short_term_ref_pic_sets; ++i) {
    if (!StRefPicSet(r, i, num_delta_pocs)) {
      return false;  // st_ref_pic_set(i)
    }
  }

  if (r.ReadBits(1) != 0) {  // long_term_ref_pics_present_flag
    const uint32_t num_long_term_ref_pics_sps = r.ReadUe();
    if (num_long_term_ref_pics_sps > kMaxLongTermRefPicsSps) {
      return false;
    }
    const uint32_t lsb_bits = std::min<uint32_t>(log2_max_pic_order_cnt_lsb_minus4 + 4, 16);
    for (uint32_t i = 0; i < num_long_term_ref_pics_sps; ++i) {
      r.SkipBits(lsb_bits);  // lt_ref_pic_poc_lsb_sps[i]
      r.SkipBits(1);         // used_by_curr_pic_lt_sps_flag[i]
    }
  }
  r.SkipBits(1);             // sps_temporal_mvp_enabled_flag
  r.SkipBits(1);             // strong_intra_smoothing_enabled_flag
  if (r.ReadBits(1) != 0) {  // vui_parameters_present_flag
    if (!VuiParameters(r, sps_max_sub_layers_minus1, record)) {
      return false;
    }
  }
  return r.ok();
}

bool ParsePps(BitReader& r, HEVCDecoderConfigurationRecord& record) {
  r.ReadUe();                // pps_pic_parameter_set_id
  r.ReadUe();                // pps_seq_parameter_set_id
  r.SkipBits(1);             // dependent_slice_segments_enabled_flag
  r.SkipBits(1);             // output_flag_present_flag
  r.SkipBits(3);             // num_extra_slice_header_bits
  r.SkipBits(1);             // sign_data_hiding_enabled_flag
  r.SkipBits(1);             // cabac_init_present_flag
  r.ReadUe();                // num_ref_idx_l0_default_active_minus1
  r.ReadUe();                // num_ref_idx_l1_default_active_minus1
  r.ReadUe();                // init_qp_minus26, se(v)
  r.SkipBits(1);             // constrained_intra_pred_flag
  r.SkipBits(1);             // transform_skip_enabled_flag
  if (r.ReadBits(1) != 0) {  // cu_qp_delta_enabled_flag
    r.ReadUe();              // diff_cu_qp_delta_depth
  }
  r.ReadUe();     // pps_cb_qp_offset, se(v)
  r.ReadUe();     // pps_cr_qp_offset, se(v)
  r.SkipBits(1);  // pps_slice_chroma_qp_offsets_present_flag
  r.SkipBits(1);  // weighted_pred_flag
  r.SkipBits(1);  // weighted_bipred_flag
  r.SkipBits(1);  // transquant_bypass_enabled_flag
  const bool tiles_enabled_flag = r.ReadBits(1) != 0;
  const bool entropy_coding_sync_enabled_flag = r.ReadBits(1) != 0;
  if (!r.ok()) {
    return false;
  }

  if (tiles_enabled_flag && entropy_coding_sync_enabled_flag) {
    record.parallelismType = 0;  // mixed
  } else if (entropy_coding_sync_enabled_flag) {
    record.parallelismType = 3;  // wavefront
  } else if (tiles_enabled_flag) {
    record.parallelismType = 2;  // tiles
  } else {
    record.parallelismType = 1;  // slices
  }
  return true;
}

}  // namespace kx::codec
