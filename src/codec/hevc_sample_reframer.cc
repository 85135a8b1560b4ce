#include "src/codec/hevc_sample_reframer.h"

#include <array>
#include <new>

#include "src/codec/annex_b_reader.h"

namespace kx::codec {
namespace {

constexpr uint8_t kNalIdrWRadl = 19;
constexpr uint8_t kNalIdrNLp = 20;
constexpr uint8_t kNalCra = 21;
constexpr uint8_t kNalVps = 32;
constexpr uint8_t kNalSps = 33;
constexpr uint8_t kNalPps = 34;

bool IsParameterSet(uint8_t type) { return type == kNalVps || type == kNalSps || type == kNalPps; }

bool IsRandomAccessPoint(uint8_t type) {
  return type == kNalIdrWRadl || type == kNalIdrNLp || type == kNalCra;
}

}  // namespace

ReframedSample ReframeHevcSample(const uint8_t* data, size_t size, bool key_frame,
                                 std::vector<uint8_t>& out) {
  ReframedSample result;
  result.key_frame = key_frame;
  if (data == nullptr) {
    return result;
  }

  const size_t original_size = out.size();
  try {
    AnnexBReader nal_units(data, data + size);
    NalUnit unit;
    while (nal_units.Next(unit)) {
      // A unit too large for its 32-bit length prefix cannot be carried.
      if (IsParameterSet(unit.type) || unit.size > UINT32_MAX) {
        continue;
      }
      const auto length = static_cast<uint32_t>(unit.size);
      const std::array<uint8_t, 4> prefix = {
          static_cast<uint8_t>(length >> 24), static_cast<uint8_t>(length >> 16),
          static_cast<uint8_t>(length >> 8), static_cast<uint8_t>(length)};
      out.insert(out.end(), prefix.begin(), prefix.end());
      out.insert(out.end(), unit.data, unit.data + unit.size);
      result.key_frame = IsRandomAccessPoint(unit.type);
    }
  } catch (const std::bad_alloc&) {
    out.resize(original_size);
    result.key_frame = key_frame;
    return result;
  }
  result.size = out.size() - original_size;
  return result;
}

}  // namespace kx::codec
