#include "src/platform/crt_rand.h"

namespace kx::platform {
namespace {

// The runtime's generator state, process-wide like the runtime's own.
uint32_t& State() {
  static uint32_t state = 1;
  return state;
}

}  // namespace

int32_t CrtRand() {
  State() = State() * 214013U + 2531011U;
  return static_cast<int32_t>((State() >> 16) & 0x7FFF);
}

void ResetCrtRand() { State() = 1; }

}  // namespace kx::platform
