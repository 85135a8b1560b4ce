#include "src/ebml/scalars.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CFloat;
using MatroskaWriter::CInt;
using MatroskaWriter::CUInt;

Bytes UIntPayload(uint64_t v) {
  CUInt element(0x81);  // one-byte ID: payload starts at offset 2
  element.Set(v);
  const Bytes all = Written(element);
  return {all.begin() + 2, all.end()};
}

Bytes IntPayload(int64_t v) {
  CInt element(0x81);
  element.Set(v);
  const Bytes all = Written(element);
  EXPECT_EQ(all[1], 0x80 | (all.size() - 2));
  return {all.begin() + 2, all.end()};
}

TEST(ScalarsTest, UnsignedUsesItsSignificantBytes) {
  EXPECT_EQ(UIntPayload(0), Hex("00"));
  EXPECT_EQ(UIntPayload(1), Hex("01"));
  EXPECT_EQ(UIntPayload(255), Hex("FF"));
  EXPECT_EQ(UIntPayload(256), Hex("01 00"));
  EXPECT_EQ(UIntPayload(1000000), Hex("0F 42 40"));
  EXPECT_EQ(UIntPayload(std::numeric_limits<uint64_t>::max()), Hex("FF FF FF FF FF FF FF FF"));
}

TEST(ScalarsTest, SetZeroIsWrittenAndUnsetIsAbsent) {
  CUInt element(MatroskaWriter::ids::kTrackType);
  MemoryStream stream;
  EXPECT_EQ(element.Write(stream), 0);
  EXPECT_EQ(element.Size(true), 0U);
  EXPECT_EQ(element.Size(false), 0U);
  EXPECT_TRUE(stream.bytes().empty());

  element.Set(0);
  EXPECT_EQ(Written(element), Hex("83 81 00"));

  element.Clear();
  EXPECT_FALSE(element.IsSet());
  EXPECT_EQ(element.Size(true), 0U);
}

TEST(ScalarsTest, TimecodeScaleGoesOutInOneWrite) {
  CUInt scale(MatroskaWriter::ids::kTimecodeScale);
  scale.Set(1000000);
  MemoryStream stream;
  EXPECT_EQ(scale.Write(stream), 0);
  EXPECT_EQ(stream.bytes(), Hex("2A D7 B1 83 0F 42 40"));
  EXPECT_EQ(stream.write_sizes().size(), 1U);
}

TEST(ScalarsTest, SignedUsesTheShortestTwosComplement) {
  EXPECT_EQ(IntPayload(0), Hex("00"));
  EXPECT_EQ(IntPayload(-1), Hex("FF"));
  EXPECT_EQ(IntPayload(127), Hex("7F"));
  EXPECT_EQ(IntPayload(-128), Hex("80"));
  EXPECT_EQ(IntPayload(128), Hex("00 80"));
  EXPECT_EQ(IntPayload(200), Hex("00 C8"));
  EXPECT_EQ(IntPayload(-129), Hex("FF 7F"));
  EXPECT_EQ(IntPayload(-40000), Hex("FF 63 C0"));
  EXPECT_EQ(IntPayload(std::numeric_limits<int64_t>::min()), Hex("80 00 00 00 00 00 00 00"));
  EXPECT_EQ(IntPayload(std::numeric_limits<int64_t>::max()), Hex("7F FF FF FF FF FF FF FF"));
}

TEST(ScalarsTest, FloatIsAlwaysFourBigEndianBytes) {
  CFloat duration(MatroskaWriter::ids::kDuration);
  EXPECT_EQ(duration.Size(true), 0U);
  duration.Set(0.0F);
  EXPECT_EQ(Written(duration), Hex("44 89 84 00 00 00 00"));
  duration.Set(1.0F);
  EXPECT_EQ(Written(duration), Hex("44 89 84 3F 80 00 00"));
  duration.Set(-2.5F);
  EXPECT_EQ(Written(duration), Hex("44 89 84 C0 20 00 00"));
}

TEST(ScalarsTest, WriteReturnsTheStreamResult) {
  CUInt element(MatroskaWriter::ids::kTrackNumber);
  element.Set(1);
  MemoryStream stream;
  stream.FailWritesAfter(0, kx::kNoFileObject);
  EXPECT_EQ(element.Write(stream), kx::kNoFileObject);
}

}  // namespace
}  // namespace kx::test
