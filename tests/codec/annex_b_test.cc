// Start codes, the NAL unit walk, emulation prevention and the bit reader.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "src/codec/annex_b_reader.h"
#include "src/codec/bit_reader.h"
#include "src/codec/emulation_prevention.h"
#include "src/codec/start_code.h"
#include "tests/codec/hevc_bits_util.h"

namespace kx::codec {
namespace {

using test::BitWriter;
using test::Bytes;

const uint8_t* ByteByByte(const uint8_t* begin, const uint8_t* end) {
  for (const uint8_t* p = begin; end - p > 3; ++p) {
    if (p[0] == 0 && p[1] == 0 && p[2] == 1) {
      return p;
    }
  }
  return end;
}

TEST(FindStartCodeTest, MatchesByteByByteScanOnEveryRange) {
  std::mt19937 random(7);
  // Mostly zeros and ones, so that start codes, near misses and runs of zeros
  // fall at every alignment and near both ends.
  const std::vector<uint8_t> alphabet = {0, 0, 0, 1, 1, 3, 0x80, 0xFF};
  std::vector<uint8_t> buffer(48);
  for (int round = 0; round < 3000; ++round) {
    for (uint8_t& byte : buffer) {
      byte = alphabet[random() % alphabet.size()];
    }
    for (size_t begin = 0; begin < 8; ++begin) {
      for (size_t end = begin; end <= buffer.size(); ++end) {
        const uint8_t* b = buffer.data() + begin;
        const uint8_t* e = buffer.data() + end;
        ASSERT_EQ(find_start_code(b, e), ByteByByte(b, e)) << round << " " << begin << " " << end;
      }
    }
  }
}

TEST(FindStartCodeTest, NeedsOneByteAfterTheStartCode) {
  const Bytes three = {0, 0, 1};
  const Bytes four = {0, 0, 1, 0x40};
  EXPECT_EQ(find_start_code(three.data(), three.data() + 3), three.data() + 3);
  EXPECT_EQ(find_start_code(four.data(), four.data() + 4), four.data());
  const Bytes zeros = {7, 0, 0, 0, 0, 1, 0x40};
  // One byte back only, and never before the search start.
  EXPECT_EQ(FindStartCodeSteppedBack(zeros.data(), zeros.data() + 7), zeros.data() + 2);
  EXPECT_EQ(FindStartCodeSteppedBack(zeros.data() + 3, zeros.data() + 7), zeros.data() + 3);
}

std::vector<Bytes> Units(const Bytes& data) {
  std::vector<Bytes> units;
  AnnexBReader reader(data.data(), data.data() + data.size());
  NalUnit unit;
  while (reader.Next(unit)) {
    EXPECT_EQ(unit.type, (unit.data[0] >> 1) & 0x3F);
    units.emplace_back(unit.data, unit.data + unit.size);
  }
  return units;
}

TEST(AnnexBReaderTest, SplitsOnThreeAndFourByteStartCodes) {
  const std::vector<Bytes> expected = {{0x40, 1, 0xAA}, {0x42, 1}, {0x44, 1, 0, 0xBB}};
  EXPECT_EQ(Units({0, 0, 0, 1, 0x40, 1, 0xAA, 0, 0, 1, 0x42, 1, 0, 0, 0, 1, 0x44, 1, 0, 0xBB}),
            expected);
  EXPECT_EQ(Units({9, 9, 0, 0, 1, 0x40, 1, 0xAA, 0, 0, 0, 1, 0x42, 1, 0, 0, 1, 0x44, 1, 0, 0xBB}),
            expected);
  // Zeros beyond the fourth stay with the unit before.
  EXPECT_EQ(Units({0, 0, 1, 0x40, 1, 0, 0, 0, 0, 1, 0x42, 1}),
            (std::vector<Bytes>{{0x40, 1, 0}, {0x42, 1}}));
  // 00 00 01 at the very end is data; back-to-back start codes give no unit.
  EXPECT_EQ(Units({0, 0, 1, 0x40, 1, 0, 0, 1}), (std::vector<Bytes>{{0x40, 1, 0, 0, 1}}));
  EXPECT_EQ(Units({0, 0, 1, 0, 0, 1, 0x26, 1}), (std::vector<Bytes>{{0x26, 1}}));
  EXPECT_TRUE(Units({0x40, 1, 2, 3, 0, 0, 0, 1}).empty());
  EXPECT_TRUE(Units({0, 0, 0, 1}).empty());
}

Bytes Rbsp(const Bytes& nal) {
  Bytes out(nal.size());
  uint32_t length = 99;
  remove_emulation_prevention(nal.data(), static_cast<uint32_t>(nal.size()), out.data(), &length);
  out.resize(length);
  return out;
}

TEST(EmulationPreventionTest, DropsOnlyTheThreeOfEachSequenceAfterTheHeader) {
  EXPECT_EQ(Rbsp({0x42, 1, 0, 0, 3, 3}), (Bytes{0x42, 1, 0, 0, 3}));
  EXPECT_EQ(Rbsp({0x42, 1, 0, 0, 3, 0, 0, 3, 1}), (Bytes{0x42, 1, 0, 0, 0, 0, 1}));
  EXPECT_EQ(Rbsp({0x42, 1, 0, 0, 3}), (Bytes{0x42, 1, 0, 0}));
  EXPECT_EQ(Rbsp({0, 0, 3, 1}), (Bytes{0, 0, 3, 1}));
  EXPECT_EQ(Rbsp({0x42, 0, 0, 3, 1}), (Bytes{0x42, 0, 0, 3, 1}));
  EXPECT_EQ(Rbsp({0x42, 1, 0, 0}), (Bytes{0x42, 1, 0, 0}));
  EXPECT_EQ(Rbsp({0x42}), (Bytes{0x42}));
}

TEST(BitReaderTest, ReadsFixedAndExpGolombFields) {
  const std::vector<uint32_t> values = {0,       1,        2,        6,          7,
                                        254,     255,      256,      65535,      65536,
                                        0xFFFFF, 0x400000, 0xFFFFFF, 0x7FFFFFFF, 0xFFFFFFFE};
  BitWriter w;
  w.U(3, 5).U(32, 0xDEADBEEF).U(48, 0x123456789ABC).U(25, 0x1ABCDEF);
  for (const uint32_t v : values) {
    w.Ue(v);
  }
  const Bytes data = w.bytes();
  BitReader r;
  ASSERT_TRUE(r.Init(data.data(), static_cast<uint32_t>(data.size())));
  EXPECT_EQ(r.ReadBits(3), 5U);
  EXPECT_EQ(r.ReadBits(32), 0xDEADBEEFU);
  EXPECT_EQ(r.ReadBits48(), 0x123456789ABCU);
  EXPECT_EQ(r.ReadBits(25), 0x1ABCDEFU);
  for (const uint32_t v : values) {
    EXPECT_EQ(r.ReadUe(), v);
  }
  EXPECT_EQ(r.position(), w.bits());
  EXPECT_TRUE(r.ok());
}

TEST(BitReaderTest, ErrorsAreStickyAndStayInsideTheData) {
  const Bytes data = {0xFF, 0x80};
  BitReader r;
  ASSERT_TRUE(r.Init(data.data(), 2));
  r.SkipBits(9);
  EXPECT_EQ(r.ReadBits(7), 0U);
  EXPECT_TRUE(r.ok());
  EXPECT_EQ(r.ReadBits(1), 0U);  // past the end
  EXPECT_FALSE(r.ok());
  r.set_position(0);
  EXPECT_EQ(r.ReadBits(8), 0U);  // still failed

  // 32 leading zeros; and a code whose value bits run past the end.
  const Bytes zeros = {0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
  ASSERT_TRUE(r.Init(zeros.data(), 9));
  EXPECT_EQ(r.ReadUe(), 0U);
  EXPECT_FALSE(r.ok());
  const Bytes cut = {0x00, 0x10};
  ASSERT_TRUE(r.Init(cut.data(), 2));
  EXPECT_EQ(r.ReadUe(), 0U);
  EXPECT_FALSE(r.ok());

  EXPECT_TRUE(r.Init(data.data(), 0x0FFFFFFE));  // set-up only, nothing read
  EXPECT_FALSE(r.Init(data.data(), 0x0FFFFFFF));
}

}  // namespace
}  // namespace kx::codec
