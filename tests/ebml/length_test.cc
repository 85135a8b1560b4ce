#include "src/ebml/length.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CLength;

Bytes Encoded(uint64_t v, int width) {
  std::array<uint8_t, 8> out{};
  const size_t n = CLength::Encode(v, width, out.data());
  return {out.begin(), out.begin() + static_cast<std::ptrdiff_t>(n)};
}

TEST(CLengthTest, WidthAvoidsTheAllOnesPatternOfEachWidth) {
  struct Case {
    uint64_t value;
    int width;
  };
  const std::vector<Case> cases = {
      {0, 1},
      {126, 1},
      {127, 2},
      {16382, 2},
      {16383, 3},
      {2097150, 3},
      {2097151, 4},
      {(uint64_t{1} << 49) - 2, 7},
      {(uint64_t{1} << 49) - 1, 8},
      {(uint64_t{1} << 56) - 2, 8},
      {CLength::kUnknown, 8},
      {uint64_t{1} << 56, 0},
      {~uint64_t{0}, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(CLength::Width(c.value), c.width) << c.value;
  }
}

TEST(CLengthTest, EncodesTheDocumentedExamples) {
  EXPECT_EQ(Encoded(0, 1), Hex("80"));
  EXPECT_EQ(Encoded(5, 1), Hex("85"));
  EXPECT_EQ(Encoded(126, 1), Hex("FE"));
  EXPECT_EQ(Encoded(127, 2), Hex("40 7F"));
  EXPECT_EQ(Encoded(4096, 2), Hex("50 00"));
  EXPECT_EQ(Encoded(16383, 3), Hex("20 3F FF"));
  EXPECT_EQ(Encoded(CLength::kUnknown, 8), Hex("01 FF FF FF FF FF FF FF"));
  // Wider than needed is allowed and keeps the value.
  EXPECT_EQ(Encoded(5, 4), Hex("10 00 00 05"));
  EXPECT_EQ(Encoded(0x1234, 8), Hex("01 00 00 00 00 00 12 34"));
}

TEST(CLengthTest, EncodeRefusesWidthsThatCannotHoldTheValue) {
  EXPECT_TRUE(Encoded(127, 1).empty());  // would read as "unknown"
  EXPECT_TRUE(Encoded(300, 1).empty());
  EXPECT_TRUE(Encoded(5, 0).empty());
  EXPECT_TRUE(Encoded(5, 9).empty());
  EXPECT_TRUE(Encoded(uint64_t{1} << 56, 8).empty());
}

TEST(CLengthTest, ElementWritesOnlyTheCodedValue) {
  EXPECT_EQ(Written(CLength(127)), Hex("40 7F"));
  EXPECT_EQ(CLength(127).Size(false), 2U);

  const CLength too_big(uint64_t{1} << 56);
  EXPECT_EQ(too_big.Size(true), 0U);
  MemoryStream stream;
  EXPECT_EQ(too_big.Write(stream), MatroskaWriter::kNotCodable);
  EXPECT_TRUE(stream.bytes().empty());
}

}  // namespace
}  // namespace kx::test
