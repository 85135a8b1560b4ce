#include "src/codec/emulation_prevention.h"

namespace kx::codec {

void remove_emulation_prevention(const uint8_t* nal, uint32_t length, uint8_t* out,
                                 uint32_t* out_length) {
  uint32_t written = 0;
  uint32_t i = 0;
  // The header is never scanned: a 00 00 03 reaching into it is not an
  // emulation prevention sequence.
  for (; i < length && i < 2; ++i) {
    out[written++] = nal[i];
  }
  while (i + 2 < length) {
    if (nal[i] == 0 && nal[i + 1] == 0 && nal[i + 2] == 3) {
      out[written++] = 0;
      out[written++] = 0;
      i += 3;
    } else {
      out[written++] = nal[i++];
    }
  }
  for (; i < length; ++i) {
    out[written++] = nal[i];
  }
  *out_length = written;
}

}  // namespace kx::codec
