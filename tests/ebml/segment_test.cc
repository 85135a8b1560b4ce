#include "src/ebml/segment.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "src/ebml/void_element.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::Segment;

Bytes HeaderOf(const Segment& segment) {
  MemoryStream stream;
  EXPECT_EQ(segment.Write(stream), 0);
  return stream.bytes();
}

TEST(SegmentTest, SizeFieldIsAlwaysEightBytes) {
  Segment segment;
  EXPECT_EQ(HeaderOf(segment), Hex("18 53 80 67 01 FF FF FF FF FF FF FF"));
  segment.size = 0x1234;
  EXPECT_EQ(HeaderOf(segment), Hex("18 53 80 67 01 00 00 00 00 00 12 34"));
  segment.size = 5;
  EXPECT_EQ(HeaderOf(segment), Hex("18 53 80 67 01 00 00 00 00 00 00 05"));
  EXPECT_EQ(segment.Size(false), 5U);
  EXPECT_EQ(segment.Size(true), 17U);
}

TEST(SegmentTest, SizesWithoutAKnownCodingAreWrittenAsUnknown) {
  Segment segment;
  EXPECT_EQ(segment.Size(false), 0x00FFFFFFFFFFFFFFU);
  segment.size = uint64_t{1} << 60;
  EXPECT_EQ(HeaderOf(segment), Hex("18 53 80 67 01 FF FF FF FF FF FF FF"));
}

TEST(SegmentTest, HeaderIsRewrittenInPlace) {
  MemoryStream stream;
  Segment segment;
  segment.Write(stream);
  MatroskaWriter::Void(20).Write(stream);
  const uint64_t end = stream.position();

  segment.size = end - 12;
  stream.SeekTo(0, kx::kSeekBegin, nullptr);
  segment.Write(stream);
  EXPECT_EQ(stream.bytes().size(), end);
  EXPECT_EQ(stream.bytes(), Join({Hex("18 53 80 67 01 00 00 00 00 00 00 16 EC 94"), Bytes(20, 0)}));
}

}  // namespace
}  // namespace kx::test
