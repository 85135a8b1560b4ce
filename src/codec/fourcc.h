// FourCC helpers: a code's four bytes, lowest first, are its characters.
#ifndef KX_CODEC_FOURCC_H_
#define KX_CODEC_FOURCC_H_

#include <cstdint>
#include <string>

namespace kx {

constexpr uint32_t FourCC(const char (&text)[5]) {
  return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
         static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
         static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}

// The code as a five-unit wide text for log lines: each byte taken as a
// signed character, as "%c%c%c%c" formats it.
std::u16string FourCCText(uint32_t fourcc);

}  // namespace kx

#endif  // KX_CODEC_FOURCC_H_
