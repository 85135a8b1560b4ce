// Test support: NAL units in the two framings the module converts between.
#ifndef KX_TESTS_SUPPORT_NAL_UNITS_H_
#define KX_TESTS_SUPPORT_NAL_UNITS_H_

#include <cstdint>
#include <vector>

namespace kx::test {

// The payloads of an Annex B buffer's NAL units, without start codes.
inline std::vector<std::vector<uint8_t>> NalUnits(const std::vector<uint8_t>& s) {
  std::vector<std::vector<uint8_t>> units;
  size_t begin = 0;
  for (size_t i = 0; i + 3 <= s.size(); ++i) {
    if (s[i] != 0 || s[i + 1] != 0 || s[i + 2] != 1) continue;
    if (begin != 0) units.emplace_back(s.begin() + begin, s.begin() + (s[i - 1] == 0 ? i - 1 : i));
    begin = i + 3;
  }
  if (begin != 0) units.emplace_back(s.begin() + begin, s.end());
  return units;
}

// The units behind four-byte start codes (Annex B), or behind their
// big-endian 32-bit lengths.
inline std::vector<uint8_t> JoinUnits(const std::vector<std::vector<uint8_t>>& units,
                                      bool annex_b) {
  std::vector<uint8_t> out;
  for (const auto& unit : units) {
    const auto n = static_cast<uint32_t>(unit.size());
    if (annex_b) out.insert(out.end(), {0, 0, 0, 1});
    if (!annex_b)
      out.insert(out.end(), {uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)});
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

}  // namespace kx::test

#endif  // KX_TESTS_SUPPORT_NAL_UNITS_H_
