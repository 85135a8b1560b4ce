// Builds the HEVC decoder configuration record (ISO/IEC 14496-15 hvcC) from
// parameter sets in Annex B form; the HEVC muxers keep it as CodecPrivate.
#ifndef KX_CODEC_HVCC_WRITER_H_
#define KX_CODEC_HVCC_WRITER_H_

#include <cstdint>

#include "src/codec/hevc_decoder_configuration_record.h"

namespace kx::codec {

// Writes the record for the VPS, SPS, PPS and SEI NAL units of `in` to the
// start of `out` and its length to `*out_size`, and returns true. Returns
// false, leaving `out` and `*out_size` as they were, when the arguments are
// unusable, any of those NAL units fails, a VPS, SPS or PPS is missing or
// too many, or the record is not shorter than `capacity`. Failures are logged
// through the host's log.
bool ff_isom_write_hvcc(uint8_t* out, uint32_t capacity, const uint8_t* in, int32_t in_size,
                        uint32_t* out_size);

// Parses one VPS, SPS, PPS or SEI NAL unit (`length` bytes from its first
// header byte, emulation prevention bytes in) into the record and files it in
// its array; the record keeps a pointer to `nal`. Returns 0, or -1 when the
// unit fails. A unit filed before its parse failed stays filed.
int add_parameter_set(const uint8_t* nal, uint32_t length, HEVCDecoderConfigurationRecord& record);

// Applies the final adjustments to the record and serialises it to `buffer`.
// Returns the bytes written, or 0 (with nothing written) when the parameter
// set counts are out of range or the record would not end strictly before
// `capacity`.
uint32_t write_record(HEVCDecoderConfigurationRecord& record, uint8_t* buffer, uint32_t capacity);

}  // namespace kx::codec

#endif  // KX_CODEC_HVCC_WRITER_H_
