#include "src/ebml/utf8_encoder.h"

namespace MatroskaWriter {

size_t EncodeUtf8CodePoint(char32_t c, uint8_t* out) {
  if (c < 0x80) {
    out[0] = static_cast<uint8_t>(c);
    return 1;
  }
  if (c < 0x800) {
    out[0] = static_cast<uint8_t>(0xC0 | (c >> 6));
    out[1] = static_cast<uint8_t>(0x80 | (c & 0x3F));
    return 2;
  }
  if (c < 0x10000) {
    out[0] = static_cast<uint8_t>(0xE0 | (c >> 12));
    out[1] = static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F));
    out[2] = static_cast<uint8_t>(0x80 | (c & 0x3F));
    return 3;
  }
  out[0] = static_cast<uint8_t>(0xF0 | (c >> 18));
  out[1] = static_cast<uint8_t>(0x80 | ((c >> 12) & 0x3F));
  out[2] = static_cast<uint8_t>(0x80 | ((c >> 6) & 0x3F));
  out[3] = static_cast<uint8_t>(0x80 | (c & 0x3F));
  return 4;
}

}  // namespace MatroskaWriter
