// Parses of the HEVC video, sequence and picture parameter sets that take out
// the values an HEVC decoder configuration record carries, merged across all
// parameter sets in the order they arrive.
#ifndef KX_CODEC_HEVC_PARAMETER_SETS_H_
#define KX_CODEC_HEVC_PARAMETER_SETS_H_

#include <cstdint>

#include "src/codec/bit_reader.h"
#include "src/codec/hevc_decoder_configuration_record.h"

namespace kx::codec {

// Each parse starts with the reader just past the two-byte NAL unit header and
// reads only up to the last element the record needs; what it does not need
// on the way is skipped bit-exactly.
//
// They return false when the parameter set is cut short, holds an
// exp-Golomb code of 32 or more leading zeros, or gives a loop count beyond
// H.265's range (num_short_term_ref_pic_sets above 64, num_negative_pics or
// num_positive_pics above 16, num_long_term_ref_pics_sps above 32,
// cpb_cnt_minus1 above 31): no conforming stream has them, and stopping there
// bounds the work whatever the bytes say. Values merged before the failure
// stay in the record; the caller fails the NAL unit and writes no record.
bool ParseVps(BitReader& reader, HEVCDecoderConfigurationRecord& record);
bool ParseSps(BitReader& reader, HEVCDecoderConfigurationRecord& record);
bool ParsePps(BitReader& reader, HEVCDecoderConfigurationRecord& record);

// profile_tier_level(1, max_sub_layers_minus1), merged into the record.
// max_sub_layers_minus1 is a 3-bit value (0 to 7).
void ParseProfileTierLevel(BitReader& reader, uint32_t max_sub_layers_minus1,
                           HEVCDecoderConfigurationRecord& record);

}  // namespace kx::codec

#endif  // KX_CODEC_HEVC_PARAMETER_SETS_H_
