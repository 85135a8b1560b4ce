// The hvcC record: exact bytes, array order, limits and the host log lines.
#include "src/codec/hvcc_writer.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/codec/hevc_bits_util.h"
#include "tests/support/log_capture.h"

namespace kx::codec {
namespace {

using test::BitWriter;
using test::Bytes;

const Bytes kDocumentedHeader = {0x01, 0x01, 0x60, 0x00, 0x00, 0x00, 0x90, 0x00,
                                 0x00, 0x00, 0x00, 0x00, 0x78, 0xF0, 0x00, 0xFC,
                                 0xFD, 0xF8, 0xF8, 0x00, 0x00, 0x0F, 0x03};
const Bytes kPrefixSei = {0x4E, 0x01, 0x05, 0x02, 0x00, 0x00, 0x03, 0x01, 0x80};
const Bytes kSlice = {0x26, 0x01, 0xAF, 0x00};  // IDR_W_RADL
const Bytes kAud = {0x46, 0x01, 0x10};

// One array of the record: type, count, then each unit with its length.
Bytes Array(uint8_t type, std::initializer_list<Bytes> units) {
  Bytes out = {type, 0, static_cast<uint8_t>(units.size())};
  for (const Bytes& unit : units) {
    out.push_back(static_cast<uint8_t>(unit.size() >> 8));
    out.push_back(static_cast<uint8_t>(unit.size()));
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes& part : parts) {
    out.insert(out.end(), part.begin(), part.end());
  }
  return out;
}

// The record for `in`, or an empty vector when the writer refuses; checks
// that a refused call leaves the caller's buffers alone.
Bytes Write(const Bytes& in, uint32_t capacity = 1024) {
  Bytes out(capacity + 1, 0xA5);
  uint32_t size = 0xDEAD;
  if (!ff_isom_write_hvcc(out.data(), capacity, in.data(), static_cast<int32_t>(in.size()),
                          &size)) {
    EXPECT_EQ(size, 0xDEADU);
    EXPECT_EQ(out, Bytes(capacity + 1, 0xA5));
    return {};
  }
  EXPECT_LT(size, capacity);
  EXPECT_EQ(out[size], 0xA5);
  out.resize(size);
  return out;
}

TEST(HvccWriterTest, WritesTheDocumentedMainProfileRecord) {
  const Bytes vps = test::Vps();
  const Bytes sps = test::Sps();
  const Bytes pps = test::Pps();
  test::LogCapture log;
  EXPECT_EQ(Write(test::AnnexB({vps, sps, pps})),
            Concat({kDocumentedHeader, Array(32, {vps}), Array(33, {sps}), Array(34, {pps})}));
  EXPECT_EQ(log.Text(), "[kx_mkv] found xps[32]\n[kx_mkv] found xps[33]\n[kx_mkv] found xps[34]\n");

  // Units of other types only delimit their neighbours; three-byte start
  // codes give the same units.
  Bytes mixed = test::AnnexB({kAud, vps, kSlice, sps});
  mixed.insert(mixed.end(), {0, 0, 1});
  mixed.insert(mixed.end(), pps.begin(), pps.end());
  EXPECT_EQ(Write(mixed), Write(test::AnnexB({vps, sps, pps})));
}

TEST(HvccWriterTest, ArraysInOrderOfFirstAppearanceWithSeiUnparsed) {
  const Bytes vps = test::Vps();
  const Bytes sps = test::Sps();
  test::Ptl other;
  other.level = 93;
  const Bytes sps2 = test::Sps(other);
  const Bytes pps = test::Pps();
  Bytes header = kDocumentedHeader;
  header[22] = 4;
  EXPECT_EQ(Write(test::AnnexB({sps, pps, kPrefixSei, vps, sps2})),
            Concat({header, Array(33, {sps, sps2}), Array(34, {pps}), Array(39, {kPrefixSei}),
                    Array(32, {vps})}));
}

TEST(HvccWriterTest, SegmentationAndParallelismFromBitstreamRestriction) {
  BitWriter w = test::SpsHead();
  BitWriter vui;
  vui.U(9, 0).U(1, 1).U(3, 0).Ue(0x123).Ue(0).Ue(0).Ue(0).Ue(0);
  test::SpsTail(w, &vui);
  const Bytes restricted = w.Nal(33);
  const auto header_bytes = [](const Bytes& record) {
    return Bytes(record.begin() + 13, record.begin() + 16);
  };
  const Bytes vps = test::Vps();
  EXPECT_EQ(header_bytes(Write(test::AnnexB({vps, restricted, test::Pps(false, true)}))),
            (Bytes{0xF1, 0x23, 0xFF}));
  // Without any restriction the parallelism type says nothing.
  EXPECT_EQ(header_bytes(Write(test::AnnexB({vps, test::Sps(), test::Pps(true, false)}))),
            (Bytes{0xF0, 0x00, 0xFC}));
}

TEST(HvccWriterTest, CapacityAndParameterSetCountLimits) {
  const Bytes in = test::AnnexB({test::Vps(), test::Sps(), test::Pps()});
  const auto size = static_cast<uint32_t>(Write(in).size());
  EXPECT_TRUE(Write(in, size).empty());
  EXPECT_EQ(Write(in, size + 1).size(), size);

  test::LogCapture log;
  const std::string counts = "[kx_mkv] error at hevc line[1027]\n";
  Bytes many;
  for (int i = 0; i < 17; ++i) {
    many = Concat({many, test::AnnexB({test::Vps()})});
  }
  EXPECT_TRUE(Write(Concat({many, test::AnnexB({test::Sps(), test::Pps()})})).empty());
  EXPECT_EQ(log.Text().substr(log.Text().size() - counts.size()), counts);
  for (const Bytes& input :
       {test::AnnexB({kPrefixSei}), test::AnnexB({kSlice, kAud}), Bytes{1, 2, 3, 4, 5, 6, 7}}) {
    log.Clear();
    EXPECT_TRUE(Write(input).empty());
    EXPECT_NE(log.Text().find(counts), std::string::npos);
  }

  log.Clear();
  uint32_t out_size = 0;
  Bytes out(16);
  EXPECT_FALSE(ff_isom_write_hvcc(out.data(), 16, in.data(), 5, &out_size));
  EXPECT_FALSE(ff_isom_write_hvcc(nullptr, 16, in.data(), 100, &out_size));
  EXPECT_FALSE(ff_isom_write_hvcc(out.data(), 0, in.data(), 100, &out_size));
  const std::string param = "[kx_mkv] ff_isom_write_hvcc input param error\n";
  EXPECT_EQ(log.Text(), param + param + param);
}

TEST(HvccWriterTest, FailingUnitsAreEachLogged) {
  BitWriter w = test::SpsHead();
  w.U(1, 0).U(2, 3).U(1, 0).Ue(65);  // 65 short-term reference picture sets
  const Bytes bad = w.Nal(33);
  test::LogCapture log;
  EXPECT_TRUE(Write(test::AnnexB({test::Vps(), bad, test::Pps(), bad})).empty());
  const std::string failed = "[kx_mkv] type[33] length[" + std::to_string(bad.size()) + "]\n";
  EXPECT_EQ(log.Text(), "[kx_mkv] found xps[32]\n[kx_mkv] found xps[33]\n" + failed +
                            "[kx_mkv] found xps[34]\n[kx_mkv] found xps[33]\n" + failed);

  // A unit's length must fit 16 bits.
  Bytes sei(65535, 0x11);
  sei[0] = 0x4E;
  sei[1] = 0x01;
  const Bytes base = test::AnnexB({test::Vps(), test::Sps(), test::Pps()});
  const size_t base_size = Write(base).size();
  EXPECT_EQ(Write(Concat({base, test::AnnexB({sei})}), 70000).size(), base_size + 3 + 2 + 65535);
  sei.push_back(0x80);
  log.Clear();
  EXPECT_TRUE(Write(Concat({base, test::AnnexB({sei})}), 70000).empty());
  EXPECT_NE(log.Text().find("[kx_mkv] type[39] length[65536]\n"), std::string::npos);
}

Bytes FromHex(const std::string& hex) {
  Bytes out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return out;
}

// Parameter sets of libx265 streams (320x240 test pattern). The expected
// headers are those another MP4 muxer writes for the same streams; the units
// must be carried with their emulation prevention bytes.
TEST(HvccWriterTest, RealStreamsMatchAnotherMuxersRecord) {
  struct Case {
    const char* name;
    std::string annex_b;
    Bytes header;
  };
  const std::vector<Case> cases = {
      {"main10",
       "0000000140010c01ffff02200000030090000003000003003c9598090000000142010102200000030090"
       "000003000003003ca00a080f1365959a4932bc05a02000000300200000030321000000014401c172b46240",
       FromHex("010220000000900000000000"
               "3cf000fcfdfafa00000f")},
      {"two temporal layers",
       "0000000140010c02ffff01600000030090000003000003003c00009598acc048000000014201020160000003"
       "0090000003000003003c0000a00a080f1659598acd24995e02d0100000030010000003019080000000014401"
       "c172b46240",
       FromHex("010160000000900000000000"
               "3cf000fcfdf8f8000013")},
      {"4:4:4 12-bit",
       "0000000140010c01ffff040800000300980800000300003c95980900000001420101040800000300980800"
       "000300003c90014101e2294b2b349272bc05a02000000300200000030321000000014401c172860c4624",
       FromHex("010408000000980800000000"
               "3cf000fcfffcfc00000f")},
  };
  for (const Case& c : cases) {
    const Bytes in = FromHex(c.annex_b);
    const Bytes record = Write(in);
    ASSERT_GT(record.size(), 23U) << c.name;
    EXPECT_EQ(Bytes(record.begin(), record.begin() + 22), c.header) << c.name;
    EXPECT_EQ(record[22], 3) << c.name;
    // 23 header bytes, 3 per array and 2 per unit; the units' bytes are the
    // input less its three four-byte start codes.
    EXPECT_EQ(record.size(), 23 + 9 + 6 + in.size() - 12) << c.name;
  }
}

}  // namespace
}  // namespace kx::codec
