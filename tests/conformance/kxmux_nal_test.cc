// kxmux's H.264/HEVC reframing: what the module's start-code scanners and
// the Matroska blocks see depends on these conversions being exact.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "tools/kxmux/nal.h"

namespace kxmux {
namespace {

using Bytes = std::vector<uint8_t>;

std::vector<Bytes> ToBytes(const std::vector<ByteView>& units) {
  std::vector<Bytes> out;
  out.reserve(units.size());
  for (const ByteView& unit : units) {
    out.emplace_back(unit.data, unit.data + unit.size);
  }
  return out;
}

TEST(KxmuxNal, SplitsAnnexBWithBothStartCodeLengths) {
  // Leading junk, a 4-byte code, a 3-byte code, and zero padding before the
  // last code that must not end up in the unit before it.
  const Bytes data = {0xAA, 0x00, 0x00, 0x00, 0x01, 0x67, 0x42, 0x00, 0x00, 0x01, 0x68,
                      0xCE, 0x00, 0x00, 0x00, 0x00, 0x01, 0x65, 0x88, 0x00, 0x00};
  const auto units = ToBytes(SplitAnnexB(data.data(), data.size()));
  ASSERT_EQ(units.size(), 3U);
  EXPECT_EQ(units[0], (Bytes{0x67, 0x42}));
  EXPECT_EQ(units[1], (Bytes{0x68, 0xCE}));
  EXPECT_EQ(units[2], (Bytes{0x65, 0x88}));
}

TEST(KxmuxNal, KeepsEmulationPreventedZerosInsideAUnit) {
  // 00 00 03 is not a start code; the unit runs to the end.
  const Bytes data = {0x00, 0x00, 0x01, 0x41, 0x00, 0x00, 0x03, 0x00, 0x01, 0x9A};
  const auto units = ToBytes(SplitAnnexB(data.data(), data.size()));
  ASSERT_EQ(units.size(), 1U);
  EXPECT_EQ(units[0], (Bytes{0x41, 0x00, 0x00, 0x03, 0x00, 0x01, 0x9A}));
}

TEST(KxmuxNal, SplitsLengthPrefixedUnitsOfEveryFieldSize) {
  for (int field = 1; field <= 4; ++field) {
    Bytes data;
    for (const Bytes& unit : {Bytes{0x65, 0x01, 0x02}, Bytes{0x41}}) {
      for (int i = field - 1; i >= 0; --i) {
        data.push_back(static_cast<uint8_t>(unit.size() >> (8 * i)));
      }
      data.insert(data.end(), unit.begin(), unit.end());
    }
    const auto units = SplitLengthPrefixed(data.data(), data.size(), field);
    ASSERT_TRUE(units.has_value()) << "field size " << field;
    const auto bytes = ToBytes(*units);
    ASSERT_EQ(bytes.size(), 2U);
    EXPECT_EQ(bytes[0], (Bytes{0x65, 0x01, 0x02}));
    EXPECT_EQ(bytes[1], (Bytes{0x41}));
  }
}

TEST(KxmuxNal, RejectsLengthsThatRunPastTheEnd) {
  const Bytes truncated = {0x00, 0x00, 0x00, 0x05, 0x65, 0x01};
  EXPECT_FALSE(SplitLengthPrefixed(truncated.data(), truncated.size(), 4).has_value());
  const Bytes short_field = {0x00, 0x00};
  EXPECT_FALSE(SplitLengthPrefixed(short_field.data(), short_field.size(), 4).has_value());
  EXPECT_FALSE(SplitLengthPrefixed(short_field.data(), short_field.size(), 5).has_value());
}

TEST(KxmuxNal, WritesFourByteStartCodesAndLengths) {
  const Bytes a = {0x67, 0x42};
  const Bytes b = {0x65};
  const std::vector<ByteView> units = {{a.data(), a.size()}, {b.data(), b.size()}};
  Bytes annex_b;
  AppendAnnexB(units, &annex_b);
  EXPECT_EQ(annex_b, (Bytes{0, 0, 0, 1, 0x67, 0x42, 0, 0, 0, 1, 0x65}));
  Bytes prefixed;
  AppendLengthPrefixed(units, &prefixed);
  EXPECT_EQ(prefixed, (Bytes{0, 0, 0, 2, 0x67, 0x42, 0, 0, 0, 1, 0x65}));
}

TEST(KxmuxNal, ReadsTheParameterSetsOfAnAvcConfigurationRecord) {
  // Two SPSs (the first is used), one PPS, 2-byte lengths in the samples.
  const Bytes avcc = {0x01, 0x64, 0x00, 0x0D, 0xFD, 0xE2, 0x00, 0x03, 0x67, 0x64,
                      0x0D, 0x00, 0x02, 0x67, 0x01, 0x01, 0x00, 0x02, 0x68, 0xEE};
  const auto config = ParseAvcExtradata(avcc.data(), avcc.size());
  ASSERT_TRUE(config.has_value());
  EXPECT_EQ(config->sps, (Bytes{0x67, 0x64, 0x0D}));
  EXPECT_EQ(config->pps, (Bytes{0x68, 0xEE}));
  EXPECT_EQ(config->length_size, 2);

  const Bytes cut(avcc.begin(), avcc.end() - 1);
  EXPECT_FALSE(ParseAvcExtradata(cut.data(), cut.size()).has_value());
}

TEST(KxmuxNal, ReadsAnnexBParameterSets) {
  const Bytes extradata = {0,    0,    0,    1, 0x06, 0x05, 0,    0,    0,   1,
                           0x67, 0x42, 0x1E, 0, 0,    1,    0x68, 0xCE, 0x3C};
  const auto config = ParseAvcExtradata(extradata.data(), extradata.size());
  ASSERT_TRUE(config.has_value());
  EXPECT_EQ(config->sps, (Bytes{0x67, 0x42, 0x1E}));
  EXPECT_EQ(config->pps, (Bytes{0x68, 0xCE, 0x3C}));
  EXPECT_EQ(config->length_size, 0);
}

TEST(KxmuxNal, TurnsAnHevcConfigurationRecordIntoAnnexB) {
  Bytes hvcc(21, 0);
  hvcc[0] = 0x01;
  hvcc.push_back(0xF3);  // 4-byte lengths
  hvcc.push_back(2);     // arrays
  for (const Bytes& unit : {Bytes{0x40, 0x01, 0x0C}, Bytes{0x42, 0x01}}) {
    hvcc.push_back(0x80 | ((unit[0] >> 1) & 0x3F));
    hvcc.insert(hvcc.end(), {0x00, 0x01, 0x00, static_cast<uint8_t>(unit.size())});
    hvcc.insert(hvcc.end(), unit.begin(), unit.end());
  }
  const auto config = ParseHevcExtradata(hvcc.data(), hvcc.size());
  ASSERT_TRUE(config.has_value());
  EXPECT_EQ(config->length_size, 4);
  EXPECT_EQ(config->annex_b, (Bytes{0, 0, 0, 1, 0x40, 0x01, 0x0C, 0, 0, 0, 1, 0x42, 0x01}));
  EXPECT_EQ(HevcNalType({config->annex_b.data() + 4, 3}), 32);
}

TEST(KxmuxNal, FindsInBandParameterSets) {
  const Bytes sps = {0x67, 0x01};
  const Bytes pps = {0x68, 0x02};
  const Bytes idr = {0x65, 0x03};
  const auto config = FindAvcParameterSets(
      {{idr.data(), idr.size()}, {sps.data(), sps.size()}, {pps.data(), pps.size()}});
  EXPECT_EQ(config.sps, sps);
  EXPECT_EQ(config.pps, pps);
}

TEST(KxmuxNal, FindsMpeg4HeadersByTheirStartCodes) {
  // A GOV header (B3) and a VOP (B6) but no VOL (20 to 2F).
  const Bytes vop = {0x00, 0x00, 0x01, 0xB3, 0x00, 0x10, 0x00, 0x00, 0x01, 0xB6, 0x10};
  EXPECT_FALSE(HasStartCodeIn(vop.data(), vop.size(), 0x20, 0x2F));
  EXPECT_TRUE(HasStartCodeIn(vop.data(), vop.size(), 0xB6, 0xB6));
  const Bytes vol = {0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x21, 0x00};
  EXPECT_TRUE(HasStartCodeIn(vol.data(), vol.size(), 0x20, 0x2F));
  // A start code cut off at the end has no header byte to look at.
  const Bytes cut = {0x00, 0x00, 0x01};
  EXPECT_FALSE(HasStartCodeIn(cut.data(), cut.size(), 0x00, 0xFF));
}

}  // namespace
}  // namespace kxmux
