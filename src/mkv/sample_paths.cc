#include "src/mkv/sample_paths.h"

#include <cstring>

#include "src/mkv/time_units.h"

namespace kx {
namespace {

bool IsFourByteStartCode(const uint8_t* p) {
  return p[0] == 0 && p[1] == 0 && p[2] == 0 && p[3] == 1;
}
bool IsThreeByteStartCode(const uint8_t* p) { return p[0] == 0 && p[1] == 0 && p[2] == 1; }

// First 00 00 00 01 at or after `from` whose four bytes lie in the data.
int32_t FindFourByteStartCode(const uint8_t* data, int32_t from, int32_t size) {
  for (int32_t i = from; i + 4 <= size; ++i) {
    if (IsFourByteStartCode(data + i)) {
      return i;
    }
  }
  return -1;
}

struct StartCode {
  int32_t position = -1;
  int32_t length = 0;
};

// First start code of either length beginning before the last four bytes.
StartCode FindStartCode(const uint8_t* data, int32_t from, int32_t size) {
  for (int32_t i = from; i < size - 4; ++i) {
    if (IsFourByteStartCode(data + i)) {
      return {i, 4};
    }
    if (IsThreeByteStartCode(data + i)) {
      return {i, 3};
    }
  }
  return {};
}

void PutBe32(uint8_t* out, uint32_t v) {
  out[0] = static_cast<uint8_t>(v >> 24);
  out[1] = static_cast<uint8_t>(v >> 16);
  out[2] = static_cast<uint8_t>(v >> 8);
  out[3] = static_cast<uint8_t>(v);
}

constexpr uint8_t kNonIdrSlice = 1;
constexpr uint8_t kIdrSlice = 5;

// Walks units that begin with 4-byte start codes and calls `slice(s, n,
// key)` for every slice (type 1 or 5) of n bytes at s, after overwriting its
// start code in place with its length. Bytes before a start code belong to
// no unit; when no start code is left, the rest is taken as one unit whose
// first four bytes stand where a start code would. A unit ending within
// five bytes of its start has no type byte: dropped.
template <typename Slice>
void ForEachSlice(uint8_t* data, int32_t size, Slice slice) {
  int32_t p = 0;
  while (p < size) {
    const int32_t s = FindFourByteStartCode(data, p, size);
    if (s >= 0) {
      p = s;
    }
    const int32_t next = s < 0 ? -1 : FindFourByteStartCode(data, p + 4, size);
    const int32_t n = (next < 0 ? size : next) - p;
    const uint8_t type = n >= 5 ? data[p + 4] & 0x1F : 0;
    if (type == kNonIdrSlice || type == kIdrSlice) {
      PutBe32(data + p, static_cast<uint32_t>(n - 4));
      slice(p, n, type == kIdrSlice ? 1 : 0);
    }
    p += n;
  }
}

}  // namespace

bool ContainsStartCode(const uint8_t* data, int32_t size) {
  return data != nullptr && FindStartCode(data, 0, size).position >= 0;
}

int32_t AddNalUnitSlices(MatroskaStream& track, uint8_t* data, int32_t size, int64_t start,
                         int64_t end) {
  if (data == nullptr || size <= 0) {
    return 0;
  }
  int32_t total = 0;
  ForEachSlice(data, size, [&](int32_t s, int32_t n, int32_t key) {
    total += track.AddFrame(data + s, n, start, end, key);
  });
  return total;
}

int32_t AddCompactedSlices(MatroskaStream& track, uint8_t* data, int32_t size, int64_t start,
                           int64_t end, int32_t key) {
  if (data == nullptr || size <= 0) {
    return 0;
  }
  // Kept slices move to the front: the write position never passes the
  // slice being read, so the move stays inside the sample.
  int32_t kept = 0;
  ForEachSlice(data, size, [&](int32_t s, int32_t n, int32_t slice_key) {
    std::memmove(data + kept, data + s, static_cast<size_t>(n));
    kept += n;
    key = slice_key;
  });
  return kept == 0 ? 0 : track.AddFrame(data, kept, start, end, key);
}

int32_t AddAnnexBAsLengthPrefixed(MatroskaStream& track, const uint8_t* data, int32_t size,
                                  int64_t start, int64_t end, int32_t key,
                                  std::vector<uint8_t>& buffer) {
  if (data == nullptr || size <= 0) {
    return 0;
  }
  // Slices, SPS, PPS and access unit delimiters: types 1, 5, 7, 8, 9.
  constexpr uint32_t kKeptTypes = 0x3A2;
  buffer.clear();
  int32_t position = 0;
  while (position < size) {
    const StartCode code = FindStartCode(data, position, size);
    const int32_t payload = code.position < 0 ? position + 4 : code.position + code.length;
    if (payload >= size) {
      break;
    }
    const StartCode next = FindStartCode(data, payload, size);
    const int32_t payload_end = next.position < 0 ? size : next.position;
    const int32_t length = payload_end - payload;
    if (length > 0 && ((kKeptTypes >> (data[payload] & 0x1F)) & 1) != 0) {
      const size_t at = buffer.size();
      buffer.resize(at + 4 + static_cast<size_t>(length));
      PutBe32(buffer.data() + at, static_cast<uint32_t>(length));
      std::memcpy(buffer.data() + at + 4, data + payload, static_cast<size_t>(length));
    }
    position = payload_end;
  }
  if (buffer.empty()) {
    return 0;
  }
  return track.AddFrame(buffer.data(), static_cast<int32_t>(buffer.size()), start, end, key);
}

int32_t AddAudioFrames(MatroskaStream& track, const MediaSample& sample,
                       const FrameSizeTable* table, int32_t table_key) {
  const uint8_t* data = sample.audioData;
  const int32_t size = sample.audioSize;
  if (data == nullptr || size <= 0) {
    return 0;
  }
  const int64_t duration = sample.duration;
  if (table == nullptr) {
    return track.AddFrame(data, size, sample.start, FrameEnd(sample.start, duration), 1);
  }
  const int32_t count = table->count;
  if (count < 1) {
    return 0;
  }
  const uint32_t* sizes = FrameSizeTableSizes(table);
  uint64_t sum = 0;
  for (int32_t i = 0; i < count; ++i) {
    sum += sizes[i];
    if (sum > static_cast<uint64_t>(size)) {
      return 0;
    }
  }
  int32_t total = 0;
  size_t offset = 0;
  const int64_t frame_duration = duration / count;
  // The frame offsets are computed in 64 bits: the same results as 32 bits
  // wherever those do not overflow, and no overflow for long groups.
  for (int32_t i = 0; i < count; ++i) {
    const int64_t frame_start = SaturatingAdd(sample.start, duration * i / count);
    total += track.AddFrame(data + offset, static_cast<int32_t>(sizes[i]), frame_start,
                            FrameEnd(frame_start, frame_duration), table_key);
    offset += sizes[i];
  }
  return total;
}

}  // namespace kx
