#include "tests/windows/utf16_cases.h"

#include <gtest/gtest.h>

#include "src/platform/utf16.h"

namespace {

// The Windows build runs the same table through WideCharToMultiByte.
TEST(Utf16CasesTest, PortableConversionGivesTheSharedResults) {
  for (const auto& c : kx::testing::kUtf16Cases) {
    EXPECT_EQ(kx::platform::Utf16ToUtf8(c.utf16), std::string(c.utf8)) << c.name;
  }
}

}  // namespace
