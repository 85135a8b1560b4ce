#include "src/ebml/ansi.h"

#include <gtest/gtest.h>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

using MatroskaWriter::CANSI;

TEST(CANSITest, WritesTheBytesWithoutTerminatorAndOmitsEmptyText) {
  CANSI language(MatroskaWriter::ids::kLanguage);
  EXPECT_EQ(language.Size(true), 0U);
  EXPECT_TRUE(Written(language).empty());

  language.Set("und");
  EXPECT_EQ(language.Size(false), 3U);
  EXPECT_EQ(Written(language), Hex("22 B5 9C 83 75 6E 64"));
  EXPECT_EQ(language.value(), "und");

  language.Clear();
  EXPECT_EQ(language.Size(true), 0U);
}

}  // namespace
}  // namespace kx::test
