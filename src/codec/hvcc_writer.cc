#include "src/codec/hvcc_writer.h"

#include <algorithm>
#include <new>
#include <vector>

#include "host/yr_log.h"
#include "src/codec/annex_b_reader.h"
#include "src/codec/bit_reader.h"
#include "src/codec/emulation_prevention.h"
#include "src/codec/hevc_parameter_sets.h"

namespace kx::codec {
namespace {

constexpr const char16_t* kLogPrefix = u"[kx_mkv]";

constexpr uint8_t kNalVps = 32;
constexpr uint8_t kNalSps = 33;
constexpr uint8_t kNalPps = 34;
constexpr uint8_t kNalPrefixSei = 39;
constexpr uint8_t kNalSuffixSei = 40;

constexpr uint32_t kMaxVps = 16;
constexpr uint32_t kMaxSps = 32;
constexpr uint32_t kMaxPps = 256;

// Fixed part of the record up to and including numOfArrays.
constexpr uint64_t kRecordHeaderSize = 23;

// Source lines the host's log has always named for these failures.
constexpr int kLineRbspAlloc = 841;
constexpr int kLineRbspTooLong = 850;
constexpr int kLineFiling = 865;
constexpr int kLineCounts = 1027;

bool IsRecordType(uint8_t type) {
  return type == kNalVps || type == kNalSps || type == kNalPps || type == kNalPrefixSei ||
         type == kNalSuffixSei;
}

void LogErrorLine(int line) {
  HostLogFormat(u"%s error at %s line[%d]", kLogPrefix, u"hevc", line);
}

// Appends the unit to the array of its type, making that array if it is the
// first of the type. Fails when a list cannot grow, and also when the array
// already holds 65,535 units, since numNalus cannot count more.
bool FileNalUnit(const uint8_t* nal, uint16_t length, uint8_t type,
                 HEVCDecoderConfigurationRecord& record) {
  try {
    auto array = std::find_if(record.arrays.begin(), record.arrays.end(),
                              [type](const NalUnitArray& a) { return a.NAL_unit_type == type; });
    if (array == record.arrays.end()) {
      record.arrays.emplace_back();
      array = record.arrays.end() - 1;
      array->NAL_unit_type = type;
      ++record.numOfArrays;
    }
    if (array->numNalus == UINT16_MAX) {
      return false;
    }
    // Grow both lists before touching either, so that they stay parallel.
    array->nalUnit.reserve(array->nalUnit.size() + 1);
    array->nalUnitLength.reserve(array->nalUnitLength.size() + 1);
    array->nalUnit.push_back(nal);
    array->nalUnitLength.push_back(length);
    ++array->numNalus;
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

uint32_t CountNalus(const HEVCDecoderConfigurationRecord& record, uint8_t type) {
  uint32_t count = 0;
  for (const NalUnitArray& array : record.arrays) {
    if (array.NAL_unit_type == type) {
      count += array.numNalus;
    }
  }
  return count;
}

class BigEndianWriter {
 public:
  explicit BigEndianWriter(uint8_t* out) : out_(out) {}
  void U8(uint32_t value) { *out_++ = static_cast<uint8_t>(value); }
  void U16(uint32_t value) {
    U8(value >> 8);
    U8(value);
  }
  void U32(uint32_t value) {
    U16(value >> 16);
    U16(value);
  }
  void Bytes(const uint8_t* data, uint32_t size) { out_ = std::copy(data, data + size, out_); }

 private:
  uint8_t* out_;
};

}  // namespace

int add_parameter_set(const uint8_t* nal, uint32_t length, HEVCDecoderConfigurationRecord& record) {
  // Below two bytes there is no NAL unit header. From 65,536 bytes on the
  // unit's length does not fit the record's 16-bit nalUnitLength: rather than
  // store a truncated length (a corrupt record) the unit fails, and the
  // caller logs its type and length.
  if (length < 2 || length > UINT16_MAX) {
    return -1;
  }

  std::vector<uint8_t> rbsp;
  try {
    rbsp.resize(length);
  } catch (const std::bad_alloc&) {
    LogErrorLine(kLineRbspAlloc);
    return -1;
  }
  uint32_t rbsp_length = 0;
  remove_emulation_prevention(nal, length, rbsp.data(), &rbsp_length);

  BitReader reader;
  if (!reader.Init(rbsp.data(), rbsp_length)) {
    LogErrorLine(kLineRbspTooLong);
    return -1;
  }
  const auto type = static_cast<uint8_t>((rbsp[0] >> 1) & 0x3F);
  if (!IsRecordType(type)) {
    return -1;
  }
  reader.SkipBits(16);  // the NAL unit header

  if (!FileNalUnit(nal, static_cast<uint16_t>(length), type, record)) {
    LogErrorLine(kLineFiling);
    return -1;
  }

  bool parsed = true;
  switch (type) {
    case kNalVps:
      parsed = ParseVps(reader, record);
      break;
    case kNalSps:
      parsed = ParseSps(reader, record);
      break;
    case kNalPps:
      parsed = ParsePps(reader, record);
      break;
    default:  // SEI is carried as it is
      break;
  }
  return parsed ? 0 : -1;
}

uint32_t write_record(HEVCDecoderConfigurationRecord& record, uint8_t* buffer, uint32_t capacity) {
  record.configurationVersion = 1;
  if (record.min_spatial_segmentation_idc > 4096) {
    record.min_spatial_segmentation_idc = 0;
  }
  // Without a segmentation bound the parallelism type promises nothing.
  if (record.min_spatial_segmentation_idc == 0) {
    record.parallelismType = 0;
  }
  record.avgFrameRate = 0;
  record.constantFrameRate = 0;

  const uint32_t vps_count = CountNalus(record, kNalVps);
  const uint32_t sps_count = CountNalus(record, kNalSps);
  const uint32_t pps_count = CountNalus(record, kNalPps);
  if (vps_count < 1 || vps_count > kMaxVps || sps_count < 1 || sps_count > kMaxSps ||
      pps_count < 1 || pps_count > kMaxPps) {
    LogErrorLine(kLineCounts);
    return 0;
  }

  // The record must end strictly before the end of the buffer; one of exactly
  // `capacity` bytes is refused. Checking the whole length first leaves the
  // buffer untouched when it does not fit.
  uint64_t size = kRecordHeaderSize;
  for (const NalUnitArray& array : record.arrays) {
    size += 3;
    for (const uint16_t length : array.nalUnitLength) {
      size += 2 + uint64_t{length};
    }
  }
  if (buffer == nullptr || size >= capacity) {
    return 0;
  }

  BigEndianWriter out(buffer);
  out.U8(record.configurationVersion);
  out.U8((record.general_profile_space << 6) | (record.general_tier_flag << 5) |
         record.general_profile_idc);
  out.U32(record.general_profile_compatibility_flags);
  out.U32(static_cast<uint32_t>(record.general_constraint_indicator_flags >> 16));
  out.U16(static_cast<uint32_t>(record.general_constraint_indicator_flags & 0xFFFF));
  out.U8(record.general_level_idc);
  out.U16(0xF000U | record.min_spatial_segmentation_idc);
  out.U8(0xFCU | record.parallelismType);
  out.U8(0xFCU | record.chromaFormat);
  out.U8(0xF8U | record.bitDepthLumaMinus8);
  out.U8(0xF8U | record.bitDepthChromaMinus8);
  out.U16(record.avgFrameRate);
  out.U8((record.constantFrameRate << 6) | (record.numTemporalLayers << 3) |
         (record.temporalIdNested << 2) | record.lengthSizeMinusOne);
  out.U8(record.numOfArrays);
  for (const NalUnitArray& array : record.arrays) {
    out.U8((array.array_completeness << 7) | (array.NAL_unit_type & 0x3F));
    out.U16(array.numNalus);
    for (size_t i = 0; i < array.nalUnit.size(); ++i) {
      out.U16(array.nalUnitLength[i]);
      out.Bytes(array.nalUnit[i], array.nalUnitLength[i]);
    }
  }
  return static_cast<uint32_t>(size);
}

bool ff_isom_write_hvcc(uint8_t* out, uint32_t capacity, const uint8_t* in, int32_t in_size,
                        uint32_t* out_size) {
  if (out == nullptr || in == nullptr || out_size == nullptr || capacity == 0 || in_size < 6) {
    HostLogFormat(u"%s %s input param error", kLogPrefix, u"ff_isom_write_hvcc");
    return false;
  }

  HEVCDecoderConfigurationRecord record;
  bool ok = true;
  AnnexBReader nal_units(in, in + in_size);
  NalUnit unit;
  while (nal_units.Next(unit)) {
    if (!IsRecordType(unit.type)) {
      continue;
    }
    HostLogFormat(u"%s found xps[%d]", kLogPrefix, static_cast<int>(unit.type));
    const auto length = static_cast<uint32_t>(unit.size);
    // Every failing unit is logged, so the scan goes on after a failure.
    if (add_parameter_set(unit.data, length, record) != 0) {
      HostLogFormat(u"%s type[%d] length[%d]", kLogPrefix, static_cast<int>(unit.type),
                    static_cast<int>(length));
      ok = false;
    }
  }
  if (!ok) {
    return false;
  }

  const uint32_t written = write_record(record, out, capacity);
  if (written == 0) {
    return false;
  }
  *out_size = written;
  return true;
}

}  // namespace kx::codec
