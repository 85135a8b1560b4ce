// libFuzzer target: the hvcC writer on arbitrary Annex B input, at the
// muxers' capacity and at a small one.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "src/codec/hvcc_writer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr uint32_t kMuxerCapacity = 1024;
  constexpr uint32_t kSmallCapacity = 96;
  if (size > INT32_MAX) {
    return 0;
  }
  const auto in_size = static_cast<int32_t>(size);

  std::vector<uint8_t> large(kMuxerCapacity, 0xA5);
  uint32_t large_size = 0xFFFFFFFF;
  const bool large_ok =
      kx::codec::ff_isom_write_hvcc(large.data(), kMuxerCapacity, data, in_size, &large_size);
  if (large_ok ? large_size == 0 || large_size >= kMuxerCapacity || large[0] != 1
               : large_size != 0xFFFFFFFF || large[0] != 0xA5) {
    std::abort();
  }

  // A record that fits the small buffer must be the very one the large buffer
  // got; the bytes past it must be untouched.
  std::vector<uint8_t> small(kSmallCapacity, 0x5A);
  uint32_t small_size = 0;
  if (kx::codec::ff_isom_write_hvcc(small.data(), kSmallCapacity, data, in_size, &small_size)) {
    if (!large_ok || small_size != large_size ||
        std::memcmp(small.data(), large.data(), small_size) != 0 ||
        (small_size + 1 < kSmallCapacity && small[small_size] != 0x5A)) {
      std::abort();
    }
  }
  return 0;
}
