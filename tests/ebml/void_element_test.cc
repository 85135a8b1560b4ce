#include "src/ebml/void_element.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::Void;

TEST(VoidTest, LengthZeroIsStillWritten) { EXPECT_EQ(Written(Void(0)), Hex("EC 80")); }

TEST(VoidTest, ReservedAreaOf4099Bytes) {
  const Void reserved(4096);
  EXPECT_EQ(reserved.Size(true), 4099U);
  EXPECT_EQ(reserved.Size(false), 4096U);
  EXPECT_EQ(Written(reserved), Join({Hex("EC 50 00"), Bytes(4096, 0)}));
}

TEST(VoidTest, ZerosGoOutInPiecesOfAtMost64Bytes) {
  MemoryStream at_64;
  Void(64).Write(at_64);
  EXPECT_EQ(at_64.write_sizes(), (std::vector<uint32_t>{2, 64}));

  MemoryStream at_65;
  Void(65).Write(at_65);
  EXPECT_EQ(at_65.write_sizes(), (std::vector<uint32_t>{2, 64, 1}));
}

TEST(VoidTest, ChosenSizeFieldWidth) {
  EXPECT_EQ(Written(Void(124, 2)), Join({Hex("EC 40 7C"), Bytes(124, 0)}));
  EXPECT_EQ(Void(124, 2).Size(true), 127U);
  EXPECT_EQ(Written(Void(5, 8)), Join({Hex("EC 01 00 00 00 00 00 00 05"), Bytes(5, 0)}));
  // Too narrow a width is raised to the minimum, too wide lowered to 8; Size
  // tells the caller what is really written.
  EXPECT_EQ(Written(Void(127, 1)), Join({Hex("EC 40 7F"), Bytes(127, 0)}));
  EXPECT_EQ(Void(1, 12).Size(true), 1U + 8U + 1U);
}

TEST(VoidTest, EveryGapOfTwoBytesOrMoreCanBeCoveredExactly) {
  for (uint64_t gap = 2; gap < 20000; ++gap) {
    int n = 0;
    while (gap > (uint64_t{1} << (7 * (n + 1))) - 2) {
      ++n;
    }
    const Void filler(gap - 2 - static_cast<uint64_t>(n), n + 1);
    ASSERT_EQ(filler.Size(true), gap);
  }
  const Void filler(126, 2);  // the 129-byte gap the minimal width cannot fill
  EXPECT_EQ(Written(filler).size(), 129U);
}

TEST(VoidTest, UncodableLengthIsRefused) {
  const Void huge(uint64_t{1} << 56);
  MemoryStream stream;
  EXPECT_EQ(huge.Write(stream), MatroskaWriter::kNotCodable);
  EXPECT_TRUE(stream.write_sizes().empty());
}

}  // namespace
}  // namespace kx::test
