// Annex B start-code search, shared by the configuration-record writer and
// the HEVC muxers' sample reframing.
#ifndef KX_CODEC_START_CODE_H_
#define KX_CODEC_START_CODE_H_

#include <cstdint>

namespace kx::codec {

// Returns the first p with begin <= p < end - 3 whose bytes are 00 00 01, or
// end when there is none: a start code counts only when at least one byte
// follows its 01. Scans four bytes at a time, with the same result as a
// byte-by-byte scan.
const uint8_t* find_start_code(const uint8_t* begin, const uint8_t* end);

// find_start_code, then one byte back when the hit lies strictly inside
// [begin, end) and the byte before it is 0, so that a four-byte start code
// 00 00 00 01 is taken at its first byte. Never steps back more than once:
// further zeros stay with the NAL unit before.
const uint8_t* FindStartCodeSteppedBack(const uint8_t* begin, const uint8_t* end);

}  // namespace kx::codec

#endif  // KX_CODEC_START_CODE_H_
