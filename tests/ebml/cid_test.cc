#include "src/ebml/cid.h"

#include <gtest/gtest.h>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CID;

TEST(CIDTest, WritesWellFormedIdsUnchanged) {
  EXPECT_EQ(Written(CID(MatroskaWriter::ids::kEBML)), Hex("1A 45 DF A3"));
  EXPECT_EQ(Written(CID(MatroskaWriter::ids::kTimecodeScale)), Hex("2A D7 B1"));
  EXPECT_EQ(Written(CID(MatroskaWriter::ids::kEBMLVersion)), Hex("42 86"));
  EXPECT_EQ(Written(CID(MatroskaWriter::ids::kSimpleBlock)), Hex("A3"));
}

TEST(CIDTest, ForcesTheLengthMarkerOfMalformedIds) {
  // The marker of an n-byte ID is bit 2^(8-n) of the first byte; bits above
  // it are cleared.
  EXPECT_EQ(Written(CID(0x01)), Hex("81"));
  EXPECT_EQ(Written(CID(0xC286)), Hex("42 86"));
  EXPECT_EQ(Written(CID(0x0186)), Hex("41 86"));
  EXPECT_EQ(Written(CID(0xFFD7B1)), Hex("3F D7 B1"));
  EXPECT_EQ(Written(CID(0x0A45DFA3)), Hex("1A 45 DF A3"));
}

TEST(CIDTest, BareIdSizeIsItsIdBytesWhateverTheArgument) {
  const CID info(MatroskaWriter::ids::kInfo);
  EXPECT_EQ(info.Size(false), 4U);
  EXPECT_EQ(info.Size(true), 4U);

  const CID none;
  EXPECT_EQ(none.Size(true), 0U);
  MemoryStream stream;
  EXPECT_EQ(none.Write(stream), 0);
  EXPECT_TRUE(stream.write_sizes().empty());
}

TEST(CIDTest, HeaderSizeAddsIdBytesAndSizeFieldWidth) {
  const CID cluster(MatroskaWriter::ids::kCluster);
  EXPECT_EQ(cluster.HeaderSize(0), 5U);
  EXPECT_EQ(cluster.HeaderSize(126), 5U);
  EXPECT_EQ(cluster.HeaderSize(127), 6U);
  EXPECT_EQ(cluster.HeaderSize(16383), 7U);
  EXPECT_EQ(cluster.HeaderSize(MatroskaWriter::kMaxKnownSize), 12U);
  // Sizes without a coding are counted with the widest field.
  EXPECT_EQ(cluster.HeaderSize(~uint64_t{0}), 12U);
}

#ifndef NDEBUG
// An element whose Emit writes one byte more than its Measure promised: the
// size field before it would then be wrong, so debug builds stop right there.
class Overlong : public CID {
 public:
  Overlong() : CID(0x81) {}
  [[nodiscard]] MatroskaWriter::Extent Measure() const override { return Standard(1); }

 protected:
  int32_t Emit(kx::IStream& stream, const MatroskaWriter::Extent& /*extent*/) const override {
    const Bytes bytes = Hex("81 81 00 00");
    return stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
  }
};

TEST(CIDDeathTest, DebugBuildsCatchAWriteThatDisagreesWithItsSize) {
  const Overlong element;
  MemoryStream stream;
  EXPECT_DEATH(element.Write(stream), "element wrote a different size");
}
#endif

}  // namespace
}  // namespace kx::test
