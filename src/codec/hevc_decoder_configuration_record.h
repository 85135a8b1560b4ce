// The values of an HEVC decoder configuration record (the hvcC box of
// ISO/IEC 14496-15) while it is being gathered from parameter sets.
#ifndef KX_CODEC_HEVC_DECODER_CONFIGURATION_RECORD_H_
#define KX_CODEC_HEVC_DECODER_CONFIGURATION_RECORD_H_

#include <cstdint>
#include <vector>

namespace kx::codec {

// Parameter sets and SEI of one nal_unit_type. The units are not copied: each
// pointer is into the caller's Annex B input, which must outlive the record.
struct NalUnitArray {
  uint8_t array_completeness = 0;
  uint8_t NAL_unit_type = 0;
  uint16_t numNalus = 0;
  std::vector<uint16_t> nalUnitLength;
  std::vector<const uint8_t*> nalUnit;
};

// One above the largest valid min_spatial_segmentation_idc: no bitstream
// restriction seen yet.
inline constexpr uint16_t kNoMinSpatialSegmentation = 4097;

struct HEVCDecoderConfigurationRecord {
  uint8_t configurationVersion = 1;
  uint8_t general_profile_space = 0;
  uint8_t general_tier_flag = 0;
  uint8_t general_profile_idc = 0;
  // All bits set, so that the AND over the parameter sets keeps the common ones.
  uint32_t general_profile_compatibility_flags = 0xFFFFFFFF;
  uint64_t general_constraint_indicator_flags = 0xFFFFFFFFFFFF;  // low 48 bits
  uint8_t general_level_idc = 0;
  uint16_t min_spatial_segmentation_idc = kNoMinSpatialSegmentation;
  uint8_t parallelismType = 0;
  uint8_t chromaFormat = 0;
  uint8_t bitDepthLumaMinus8 = 0;
  uint8_t bitDepthChromaMinus8 = 0;
  uint16_t avgFrameRate = 0;
  uint8_t constantFrameRate = 0;
  uint8_t numTemporalLayers = 0;
  uint8_t temporalIdNested = 0;
  uint8_t lengthSizeMinusOne = 3;  // four-byte NAL unit lengths
  uint8_t numOfArrays = 0;
  std::vector<NalUnitArray> arrays;  // in order of each type's first appearance
};

}  // namespace kx::codec

#endif  // KX_CODEC_HEVC_DECODER_CONFIGURATION_RECORD_H_
