// libFuzzer target: Annex B sample to length-prefixed NAL units.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "src/codec/hevc_sample_reframer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const bool key_frame = size > 0 && (data[0] & 1) != 0;
  std::vector<uint8_t> out = {0xEE};  // the reframer appends after what is there
  const kx::codec::ReframedSample result = kx::codec::ReframeHevcSample(data, size, key_frame, out);
  if (out.size() != result.size + 1 || out[0] != 0xEE) {
    std::abort();
  }
  if (result.size == 0 && result.key_frame != key_frame) {
    std::abort();
  }

  // The output must walk cleanly as length-prefixed units with no parameter
  // sets, and none can be longer than the input.
  size_t pos = 1;
  while (pos < out.size()) {
    if (out.size() - pos < 5) {
      std::abort();
    }
    const size_t length = (size_t{out[pos]} << 24) | (size_t{out[pos + 1]} << 16) |
                          (size_t{out[pos + 2]} << 8) | out[pos + 3];
    pos += 4;
    if (length == 0 || length > out.size() - pos || length > size) {
      std::abort();
    }
    const int type = (out[pos] >> 1) & 0x3F;
    if (type >= 32 && type <= 34) {
      std::abort();
    }
    pos += length;
  }
  return 0;
}
