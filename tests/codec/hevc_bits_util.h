// Test-only builders for HEVC bit strings: a bit writer, NAL unit and Annex B
// framing, and parameter sets written field by field after H.265.
#ifndef KX_TESTS_CODEC_HEVC_BITS_UTIL_H_
#define KX_TESTS_CODEC_HEVC_BITS_UTIL_H_

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace kx::test {

using Bytes = std::vector<uint8_t>;

class BitWriter {
 public:
  BitWriter& U(uint32_t n, uint64_t value);  // u(n), n <= 64
  BitWriter& Ue(uint32_t value);             // ue(v)
  BitWriter& Append(const BitWriter& other);
  size_t bits() const { return bits_; }
  // The bits as bytes, zero-padded to a byte boundary.
  Bytes bytes() const { return bytes_; }
  // NAL unit of `type`: header, the bits, rbsp_trailing_bits, and emulation
  // prevention bytes inserted.
  Bytes Nal(uint8_t type) const;

 private:
  Bytes bytes_;
  size_t bits_ = 0;
};

// NAL units joined with four-byte start codes.
Bytes AnnexB(std::initializer_list<Bytes> units);

struct Ptl {
  uint8_t profile_space = 0;
  uint8_t tier = 0;
  uint8_t profile_idc = 1;                // Main
  uint32_t compatibility = 0x60000000;    // flags 1 and 2
  uint64_t constraints = 0x900000000000;  // progressive source, frame only
  uint8_t level = 120;
};

// profile_tier_level(1, m) with every sub-layer flag set to `sub_layer_flags`.
void WritePtl(BitWriter& w, const Ptl& ptl, uint32_t m, bool sub_layer_flags = false);

Bytes Vps(const Ptl& ptl = {}, uint32_t m = 0);

// An SPS of an 8-bit 4:2:0 320x240 stream up to and including
// max_transform_hierarchy_depth_intra.
BitWriter SpsHead(const Ptl& ptl = {}, uint32_t m = 0, uint32_t chroma_format_idc = 1,
                  uint32_t bit_depth_minus8 = 0, uint32_t log2_max_pic_order_cnt_lsb_minus4 = 4);
// From scaling_list_enabled_flag = 0 to the end with one plain short-term
// reference picture set, no long-term pictures and, without `vui`, no VUI.
void SpsTail(BitWriter& w, const BitWriter* vui = nullptr);
Bytes Sps(const Ptl& ptl = {}, uint32_t m = 0);

Bytes Pps(bool tiles = false, bool wavefront = false);

}  // namespace kx::test

#endif  // KX_TESTS_CODEC_HEVC_BITS_UTIL_H_
