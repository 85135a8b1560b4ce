#include "src/ebml/binary.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CBinary;

TEST(CBinaryTest, TextCarriesOneTrailingZero) {
  CBinary codec_id(MatroskaWriter::ids::kCodecID);
  codec_id.SetText("V_VP8");
  EXPECT_EQ(codec_id.Size(false), 6U);
  EXPECT_EQ(Written(codec_id), Hex("86 86 56 5F 56 50 38 00"));
  EXPECT_EQ(codec_id.Text(), "V_VP8");

  codec_id.SetText("V_MPEG4/ISO/AVC");
  EXPECT_EQ(codec_id.Size(false), 16U);
}

TEST(CBinaryTest, TextStopsAtTheFirstZero) {
  CBinary element(MatroskaWriter::ids::kCodecPrivate);
  const Bytes data = Hex("61 62 00 63");
  element.Assign(data.data(), data.size());
  EXPECT_EQ(element.Text(), "ab");
  element.Assign(data.data(), 2);
  EXPECT_EQ(element.Text(), "ab");
}

TEST(CBinaryTest, AssignResizeAndClear) {
  CBinary element(MatroskaWriter::ids::kCodecPrivate);
  const Bytes data = Hex("01 02 03");
  element.Assign(data.data(), data.size());
  EXPECT_EQ(Written(element), Hex("63 A2 83 01 02 03"));

  element.Resize(5);
  EXPECT_EQ(Written(element), Hex("63 A2 85 01 02 03 00 00"));
  element.bytes()[4] = 9;
  EXPECT_EQ(element.bytes(), Hex("01 02 03 00 09"));

  // A null source cannot be copied from: the array is emptied instead.
  element.Assign(nullptr, 4);
  EXPECT_TRUE(element.empty());

  element.Resize(2);
  element.Clear();
  EXPECT_EQ(element.length(), 0U);
  EXPECT_EQ(element.bytes().capacity(), 0U);
}

TEST(CBinaryTest, EmptyIsAbsent) {
  const CBinary element(MatroskaWriter::ids::kSegmentUID);
  MemoryStream stream;
  EXPECT_EQ(element.Write(stream), 0);
  EXPECT_EQ(element.Size(true), 0U);
  EXPECT_TRUE(stream.bytes().empty());
}

TEST(CBinaryTest, SizeFieldWidensAt127AndLargePayloadsBypassTheBuffer) {
  CBinary element(MatroskaWriter::ids::kCodecPrivate);
  element.Resize(126);
  EXPECT_EQ(element.Size(true), 2U + 1U + 126U);
  element.Resize(127);
  EXPECT_EQ(element.Size(true), 2U + 2U + 127U);
  element.Resize(16382);
  EXPECT_EQ(element.Size(true), 2U + 2U + 16382U);
  element.Resize(16383);
  EXPECT_EQ(element.Size(true), 2U + 3U + 16383U);

  MemoryStream stream;
  EXPECT_EQ(element.Write(stream), 0);
  EXPECT_EQ(Bytes(stream.bytes().begin(), stream.bytes().begin() + 5), Hex("63 A2 20 3F FF"));
  // Header in one write, the payload in one more.
  EXPECT_EQ(stream.write_sizes(), (std::vector<uint32_t>{5, 16383}));
}

}  // namespace
}  // namespace kx::test
