// NAL unit to raw byte sequence payload (RBSP).
#ifndef KX_CODEC_EMULATION_PREVENTION_H_
#define KX_CODEC_EMULATION_PREVENTION_H_

#include <cstdint>

namespace kx::codec {

// Copies the NAL unit `nal` of `length` bytes to `out` without its
// emulation_prevention_three_byte (the 03 of each 00 00 03 after the two-byte
// header; a 03 right after a dropped one is data). `out` must hold `length`
// bytes; `out_length` receives the bytes written, never more than `length`.
// Units shorter than the header are copied as they are.
void remove_emulation_prevention(const uint8_t* nal, uint32_t length, uint8_t* out,
                                 uint32_t* out_length);

}  // namespace kx::codec

#endif  // KX_CODEC_EMULATION_PREVENTION_H_
