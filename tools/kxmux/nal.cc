#include "tools/kxmux/nal.h"

namespace kxmux {
namespace {

// Position of the next 00 00 01 at or after `from`, or `size`.
size_t FindStartCode(const uint8_t* data, size_t size, size_t from) {
  for (size_t i = from; i + 3 <= size; ++i) {
    if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
      return i;
    }
  }
  return size;
}

uint32_t ReadBigEndian(const uint8_t* p, int bytes) {
  uint32_t value = 0;
  for (int i = 0; i < bytes; ++i) {
    value = (value << 8) | p[i];
  }
  return value;
}

void AppendBigEndian32(uint32_t value, std::vector<uint8_t>* out) {
  out->push_back(static_cast<uint8_t>(value >> 24));
  out->push_back(static_cast<uint8_t>(value >> 16));
  out->push_back(static_cast<uint8_t>(value >> 8));
  out->push_back(static_cast<uint8_t>(value));
}

// Reads records as they appear in avcC and hvcC: a 16-bit big-endian size
// followed by that many bytes.
class RecordReader {
 public:
  RecordReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool Skip(size_t n) {
    if (size_ - pos_ < n) {
      return false;
    }
    pos_ += n;
    return true;
  }
  std::optional<uint8_t> Byte() {
    if (pos_ >= size_) {
      return std::nullopt;
    }
    return data_[pos_++];
  }
  std::optional<uint16_t> U16() {
    if (size_ - pos_ < 2) {
      return std::nullopt;
    }
    const auto value = static_cast<uint16_t>(ReadBigEndian(data_ + pos_, 2));
    pos_ += 2;
    return value;
  }
  // A unit preceded by its 16-bit size.
  std::optional<ByteView> Unit() {
    const auto length = U16();
    if (!length || size_ - pos_ < *length) {
      return std::nullopt;
    }
    const ByteView unit{data_ + pos_, *length};
    pos_ += *length;
    return unit;
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t pos_ = 0;
};

std::vector<uint8_t> ToVector(const ByteView& view) { return {view.data, view.data + view.size}; }

}  // namespace

bool StartsWithStartCode(const uint8_t* data, size_t size) {
  if (size >= 3 && data[0] == 0 && data[1] == 0 && data[2] == 1) {
    return true;
  }
  return size >= 4 && data[0] == 0 && data[1] == 0 && data[2] == 0 && data[3] == 1;
}

bool HasStartCodeIn(const uint8_t* data, size_t size, uint8_t first, uint8_t last) {
  for (size_t code = FindStartCode(data, size, 0); code + 3 < size;
       code = FindStartCode(data, size, code + 3)) {
    if (data[code + 3] >= first && data[code + 3] <= last) {
      return true;
    }
  }
  return false;
}

std::vector<ByteView> SplitAnnexB(const uint8_t* data, size_t size) {
  std::vector<ByteView> units;
  size_t code = FindStartCode(data, size, 0);
  while (code < size) {
    const size_t begin = code + 3;
    const size_t next = FindStartCode(data, size, begin);
    size_t end = next;
    // A unit never ends in a zero byte; zeros here lead the next start code
    // (or are trailing padding of the stream).
    while (end > begin && data[end - 1] == 0) {
      --end;
    }
    if (end > begin) {
      units.push_back({data + begin, end - begin});
    }
    code = next;
  }
  return units;
}

std::optional<std::vector<ByteView>> SplitLengthPrefixed(const uint8_t* data, size_t size,
                                                         int length_size) {
  if (length_size < 1 || length_size > 4) {
    return std::nullopt;
  }
  std::vector<ByteView> units;
  const auto field = static_cast<size_t>(length_size);
  size_t pos = 0;
  while (pos < size) {
    if (size - pos < field) {
      return std::nullopt;
    }
    const size_t length = ReadBigEndian(data + pos, length_size);
    pos += field;
    if (size - pos < length) {
      return std::nullopt;
    }
    if (length > 0) {
      units.push_back({data + pos, length});
    }
    pos += length;
  }
  return units;
}

void AppendAnnexB(const std::vector<ByteView>& units, std::vector<uint8_t>* out) {
  for (const ByteView& unit : units) {
    AppendBigEndian32(1, out);
    out->insert(out->end(), unit.data, unit.data + unit.size);
  }
}

void AppendLengthPrefixed(const std::vector<ByteView>& units, std::vector<uint8_t>* out) {
  for (const ByteView& unit : units) {
    AppendBigEndian32(static_cast<uint32_t>(unit.size), out);
    out->insert(out->end(), unit.data, unit.data + unit.size);
  }
}

int AvcNalType(const ByteView& unit) { return unit.size > 0 ? unit.data[0] & 0x1F : -1; }

int HevcNalType(const ByteView& unit) { return unit.size > 0 ? (unit.data[0] >> 1) & 0x3F : -1; }

AvcConfig FindAvcParameterSets(const std::vector<ByteView>& units) {
  AvcConfig config;
  for (const ByteView& unit : units) {
    const int type = AvcNalType(unit);
    if (type == kAvcSps && config.sps.empty()) {
      config.sps = ToVector(unit);
    }
    if (type == kAvcPps && config.pps.empty()) {
      config.pps = ToVector(unit);
    }
  }
  return config;
}

std::optional<AvcConfig> ParseAvcExtradata(const uint8_t* data, size_t size) {
  if (data == nullptr || size == 0) {
    return std::nullopt;
  }
  if (StartsWithStartCode(data, size)) {
    return FindAvcParameterSets(SplitAnnexB(data, size));
  }
  // avcC: version 1, profile, compatibility, level, 6 bits reserved + length
  // size minus one, 3 bits reserved + SPS count, the SPSs, PPS count, the PPSs.
  if (data[0] != 1) {
    return std::nullopt;
  }
  RecordReader reader(data, size);
  if (!reader.Skip(4)) {
    return std::nullopt;
  }
  const auto length_byte = reader.Byte();
  const auto sps_count = reader.Byte();
  if (!length_byte || !sps_count) {
    return std::nullopt;
  }
  AvcConfig config;
  config.length_size = (*length_byte & 3) + 1;
  for (int i = 0; i < (*sps_count & 0x1F); ++i) {
    const auto unit = reader.Unit();
    if (!unit) {
      return std::nullopt;
    }
    if (config.sps.empty()) {
      config.sps = ToVector(*unit);
    }
  }
  const auto pps_count = reader.Byte();
  if (!pps_count) {
    return std::nullopt;
  }
  for (int i = 0; i < *pps_count; ++i) {
    const auto unit = reader.Unit();
    if (!unit) {
      return std::nullopt;
    }
    if (config.pps.empty()) {
      config.pps = ToVector(*unit);
    }
  }
  return config;
}

std::optional<HevcConfig> ParseHevcExtradata(const uint8_t* data, size_t size) {
  if (data == nullptr || size == 0) {
    return std::nullopt;
  }
  HevcConfig config;
  if (StartsWithStartCode(data, size)) {
    AppendAnnexB(SplitAnnexB(data, size), &config.annex_b);
    return config;
  }
  // hvcC: 21 bytes of profile and format fields, a byte whose low 2 bits are
  // the length size minus one, the array count, then per array a type byte, a
  // 16-bit unit count and the units.
  if (data[0] != 1) {
    return std::nullopt;
  }
  RecordReader reader(data, size);
  if (!reader.Skip(21)) {
    return std::nullopt;
  }
  const auto length_byte = reader.Byte();
  const auto array_count = reader.Byte();
  if (!length_byte || !array_count) {
    return std::nullopt;
  }
  config.length_size = (*length_byte & 3) + 1;
  std::vector<ByteView> units;
  for (int a = 0; a < *array_count; ++a) {
    const auto type = reader.Byte();
    const auto count = reader.U16();
    if (!type || !count) {
      return std::nullopt;
    }
    for (int i = 0; i < *count; ++i) {
      const auto unit = reader.Unit();
      if (!unit) {
        return std::nullopt;
      }
      if (unit->size > 0) {
        units.push_back(*unit);
      }
    }
  }
  AppendAnnexB(units, &config.annex_b);
  return config;
}

}  // namespace kxmux
