// Track UIDs come from the runtime's rand(), so files are only identical
// across platforms if the sequence is the Windows runtime's, value for value.
#include "src/platform/crt_rand.h"

#include <cstdint>
#include <vector>

#include "gtest/gtest.h"

namespace {

using kx::platform::CrtRand;
using kx::platform::ResetCrtRand;

std::vector<int32_t> Draw(size_t count) {
  std::vector<int32_t> values(count);
  for (auto& value : values) {
    value = CrtRand();
  }
  return values;
}

TEST(CrtRand, StartsWithTheUnseededRuntimeSequence) {
  ResetCrtRand();
  EXPECT_EQ(Draw(10), (std::vector<int32_t>{41, 18467, 6334, 26500, 19169, 15724, 11478, 29358,
                                            26962, 24464}));
}

TEST(CrtRand, FollowsTheRuntimeGeneratorFarIntoTheSequence) {
  // The generator the runtime documents: a 32-bit state starting at 1.
  std::vector<int32_t> expected;
  uint32_t state = 1;
  for (int i = 0; i < 5000; ++i) {
    state = state * 214013U + 2531011U;
    expected.push_back(static_cast<int32_t>((state >> 16) & 0x7FFF));
  }
  ResetCrtRand();
  EXPECT_EQ(Draw(expected.size()), expected);
}

TEST(CrtRand, ResetStartsOver) {
  ResetCrtRand();
  const std::vector<int32_t> first = Draw(100);
  Draw(1234);
  ResetCrtRand();
  EXPECT_EQ(Draw(100), first);
}

}  // namespace
