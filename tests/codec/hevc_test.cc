// HEVC through the single-stream function table: the hvcC record that
// CodecPrivate carries (its header as another MP4 muxer writes it for the
// same libx265 parameter sets), the samples reframed without parameter sets,
// the key-frame rule, and the writer's refusals with their log lines.
#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

#include "src/codec/hvcc_writer.h"
#include "tests/support/log_capture.h"
#include "tests/support/matroska_file.h"
#include "tests/support/table_host.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

Bytes FromHex(const std::string& hex) {
  Bytes out;
  for (size_t i = 0; i + 1 < hex.size(); i += 2)
    out.push_back(static_cast<uint8_t>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  return out;
}

// The units behind four-byte start codes (Annex B), or behind their
// big-endian 32-bit lengths.
Bytes Join(std::initializer_list<Bytes> units, bool annex_b = true) {
  Bytes out;
  for (const Bytes& unit : units) {
    const uint32_t n = annex_b ? 1 : static_cast<uint32_t>(unit.size());  // a start code: 0001
    out.insert(out.end(), {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)});
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

// A libx265 Main 10 stream's parameter sets and the record's first 22 bytes
// for them.
const char* const kVps = "40010c01ffff02200000030090000003000003003c95980900";
const char* const kSps =
    "42010102200000030090000003000003003ca00a080f1365959a4932bc05a02000000300200000030321";
const char* const kPps = "4401c172b46240";
const char* const kHeader = "0102200000009000000000003cf000fcfdfafa00000f";

const Bytes kIdr = {0x26, 0x01, 0xAF, 0x10};    // IDR_W_RADL
const Bytes kTrail = {0x02, 0x01, 0xD0, 0x20};  // TRAIL_R
const Bytes kCra = {0x2A, 0x01, 0xAC, 0x30};    // CRA_NUT
const Bytes kSei = {0x50, 0x01, 0x05, 0x40};    // suffix SEI

// Samples given before and after the parameter sets.
TEST(HevcFile, RecordAndBlocks) {
  const Bytes vps = FromHex(kVps);
  const Bytes sps = FromHex(kSps);
  const Bytes pps = FromHex(kPps);
  Bytes record = FromHex(kHeader);
  record.push_back(3);
  for (const Bytes* unit : {&vps, &sps, &pps}) {
    record.insert(record.end(), {static_cast<uint8_t>((*unit)[0] >> 1), 0, 1, 0,
                                 static_cast<uint8_t>(unit->size())});
    record.insert(record.end(), unit->begin(), unit->end());
  }
  record.resize(1024);
  // Samples and the key flags the host gives; the flag written follows the
  // last unit kept (IDR or CRA), and parameter sets leave the blocks.
  const struct {
    Bytes sample;
    bool key_in;
    Bytes block;
    bool key;
  } samples[] = {{Join({vps, sps, pps, kIdr}), false, Join({kIdr}, false), true},
                 {Join({kTrail}), true, Join({kTrail}, false), false},
                 {Join({kTrail, kCra}), false, Join({kTrail, kCra}, false), true},
                 {Join({kIdr, kSei}), true, Join({kIdr, kSei}, false), false}};
  for (const bool late : {false, true}) {
    const TempDir dir;
    const FileFormat& row = Row("MKV ");
    const LogCapture log;
    {
      TableFile file(row, dir.WidePath(u"hevc.mkv"),
                     FileParams("MKV ", "HEVC", 320, 240, 25, "AC3 ", 48000, 2));
      const Bytes parameter_sets = Join({vps, sps, pps});
      if (!late) file.VideoExtra(parameter_sets, {});
      for (int round = 0; round < 3; ++round) {
        for (size_t i = 0; i < 4; ++i) {
          const int64_t start = int64_t{400000} * (int64_t{4} * round + static_cast<int64_t>(i));
          file.Video(samples[i].sample, start, 400000, samples[i].key_in);
          file.Audio(Bytes(8, 1), start, 400000);
        }
      }
      if (late) file.VideoExtra(parameter_sets, {});
    }
    EXPECT_EQ(log.Text(),
              "[kx_mkv] found xps[32]\n[kx_mkv] found xps[33]\n"
              "[kx_mkv] found xps[34]\n");
    const MatroskaFile read = ReadMatroskaFile(dir.Path("hevc.mkv"));
    ASSERT_TRUE(read.parsed) << late;
    EXPECT_EQ(read.Track(2)->codec_id, "V_MPEGH/ISO/HEVC");
    EXPECT_EQ(read.Track(2)->codec_private, record) << late;
    const auto blocks = read.BlocksOfTrack(2);
    ASSERT_EQ(blocks.size(), 12U);
    for (size_t i = 0; i < blocks.size(); ++i) {
      EXPECT_EQ(blocks[i].frames.at(0), samples[i % 4].block) << i;
      EXPECT_EQ(blocks[i].key, samples[i % 4].key) << i;
    }
  }
}

// Refusals leave the output alone and are logged: a record as long as the
// capacity, no output, a unit that does not parse (type and length logged).
TEST(HvccWriter, RefusalsLeaveTheOutputAloneAndAreLogged) {
  const Bytes cut_sps = FromHex(std::string(kSps).substr(0, 30));
  const Bytes good = Join({FromHex(kVps), FromHex(kSps), FromHex(kPps)});
  const Bytes bad = Join({FromHex(kVps), cut_sps, FromHex(kPps)});
  const LogCapture log;
  for (const auto& [in, capacity, null] : {std::tuple{&good, 23 + 9 + 6 + good.size() - 12, false},
                                           {&good, size_t{200}, true},
                                           {&bad, size_t{200}, false}}) {
    Bytes out(200, 0xA5);
    uint32_t size = 7;
    EXPECT_FALSE(codec::ff_isom_write_hvcc(null ? nullptr : out.data(), capacity, in->data(),
                                           static_cast<int32_t>(in->size()), &size));
    EXPECT_EQ(out, Bytes(200, 0xA5));
    EXPECT_EQ(size, 7U);
  }
  EXPECT_NE(log.Text().find("[kx_mkv] ff_isom_write_hvcc input param error\n"), std::string::npos);
  EXPECT_NE(log.Text().find("[kx_mkv] type[33] length[15]\n"), std::string::npos) << log.Text();
}

}  // namespace
}  // namespace kx::test
