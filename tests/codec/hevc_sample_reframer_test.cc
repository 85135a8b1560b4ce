// Annex B samples to length-prefixed NAL units, and the key-frame rule.
#include "src/codec/hevc_sample_reframer.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/codec/hevc_bits_util.h"

namespace kx::codec {
namespace {

using test::Bytes;

const Bytes kVps = {0x40, 0x01, 0x0C};
const Bytes kSps = {0x42, 0x01, 0x01};
const Bytes kPps = {0x44, 0x01, 0xC1};
const Bytes kIdr = {0x26, 0x01, 0xAF, 0x00, 0x00, 0x03, 0x01};  // IDR_W_RADL
const Bytes kCra = {0x2A, 0x01, 0xAD};
const Bytes kTrail = {0x02, 0x01, 0xD0};
const Bytes kSuffixSei = {0x50, 0x01, 0x84};

Bytes Prefixed(std::initializer_list<Bytes> units) {
  Bytes out;
  for (const Bytes& unit : units) {
    out.insert(out.end(), {0, 0, 0, static_cast<uint8_t>(unit.size())});
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

ReframedSample Reframe(const Bytes& sample, bool key, Bytes& out) {
  return ReframeHevcSample(sample.data(), sample.size(), key, out);
}

TEST(HevcSampleReframerTest, DropsParameterSetsAndTheLastUnitDecidesTheKeyFrame) {
  struct Case {
    Bytes sample;
    bool key_in;
    Bytes expected;
    bool key_out;
  };
  const std::vector<Case> cases = {
      {test::AnnexB({kVps, kSps, kPps, kIdr}), false, Prefixed({kIdr}), true},
      {test::AnnexB({kIdr, kSuffixSei}), true, Prefixed({kIdr, kSuffixSei}), false},
      {test::AnnexB({kTrail, kCra}), false, Prefixed({kTrail, kCra}), true},
      {test::AnnexB({kTrail}), true, Prefixed({kTrail}), false},
      // Nothing kept: no bytes, and the sample's own flag.
      {test::AnnexB({kVps, kSps, kPps}), true, {}, true},
      {Prefixed({kIdr}), false, {}, false},
  };
  for (const Case& c : cases) {
    Bytes out = {0xEE};
    const ReframedSample result = Reframe(c.sample, c.key_in, out);
    EXPECT_EQ(result.size, c.expected.size());
    EXPECT_EQ(result.key_frame, c.key_out);
    Bytes expected = {0xEE};
    expected.insert(expected.end(), c.expected.begin(), c.expected.end());
    EXPECT_EQ(out, expected);
  }
}

TEST(HevcSampleReframerTest, GrowsPastTheSampleSizeForThreeByteStartCodes) {
  // Each three-byte start code becomes a four-byte length: 300 units grow
  // the sample by 300 bytes, more than any fixed margin.
  Bytes sample;
  Bytes expected;
  for (int i = 0; i < 300; ++i) {
    const Bytes unit = {0x02, 0x01, static_cast<uint8_t>(i | 0x80)};
    sample.insert(sample.end(), {0, 0, 1});
    sample.insert(sample.end(), unit.begin(), unit.end());
    expected.insert(expected.end(), {0, 0, 0, 3});
    expected.insert(expected.end(), unit.begin(), unit.end());
  }
  Bytes out;
  EXPECT_EQ(Reframe(sample, true, out).size, sample.size() + 300);
  EXPECT_EQ(out, expected);
}

}  // namespace
}  // namespace kx::codec
