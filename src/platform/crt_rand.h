// The C runtime's pseudo-random generator as the Windows runtime computes it,
// so that track UIDs (and hence whole files) are identical on every platform.
#ifndef KX_PLATFORM_CRT_RAND_H_
#define KX_PLATFORM_CRT_RAND_H_

#include <cstdint>

namespace kx::platform {

// 0..32767; never seeded by the module, so the first value after load is 41.
int32_t CrtRand();

// Back to the state at load (tests only).
void ResetCrtRand();

}  // namespace kx::platform

#endif  // KX_PLATFORM_CRT_RAND_H_
