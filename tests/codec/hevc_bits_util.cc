#include "tests/codec/hevc_bits_util.h"

namespace kx::test {

BitWriter& BitWriter::U(uint32_t n, uint64_t value) {
  for (uint32_t i = n; i-- > 0;) {
    if (bits_ % 8 == 0) {
      bytes_.push_back(0);
    }
    if (((value >> i) & 1) != 0) {
      bytes_.back() |= static_cast<uint8_t>(0x80 >> (bits_ % 8));
    }
    ++bits_;
  }
  return *this;
}

BitWriter& BitWriter::Ue(uint32_t value) {
  const uint64_t code = uint64_t{value} + 1;
  uint32_t length = 0;
  while ((code >> (length + 1)) != 0) {
    ++length;
  }
  return U(length, 0).U(length + 1, code);
}

BitWriter& BitWriter::Append(const BitWriter& other) {
  for (size_t i = 0; i < other.bits_; ++i) {
    U(1, other.bytes_[i / 8] >> (7 - i % 8));
  }
  return *this;
}

Bytes BitWriter::Nal(uint8_t type) const {
  BitWriter rbsp = *this;
  rbsp.U(1, 1);  // rbsp_stop_one_bit
  Bytes nal = {static_cast<uint8_t>(type << 1), 1};
  int zeros = 0;
  for (const uint8_t byte : rbsp.bytes_) {
    if (zeros == 2 && byte <= 3) {
      nal.push_back(3);
      zeros = 0;
    }
    nal.push_back(byte);
    zeros = byte == 0 ? zeros + 1 : 0;
  }
  return nal;
}

Bytes AnnexB(std::initializer_list<Bytes> units) {
  Bytes out;
  for (const Bytes& unit : units) {
    out.insert(out.end(), {0, 0, 0, 1});
    out.insert(out.end(), unit.begin(), unit.end());
  }
  return out;
}

void WritePtl(BitWriter& w, const Ptl& ptl, uint32_t m, bool sub_layer_flags) {
  w.U(2, ptl.profile_space).U(1, ptl.tier).U(5, ptl.profile_idc);
  w.U(32, ptl.compatibility).U(48, ptl.constraints).U(8, ptl.level);
  for (uint32_t i = 0; i < m; ++i) {
    w.U(2, sub_layer_flags ? 3 : 0);
  }
  if (m > 0) {
    w.U(2 * (8 - m), 0);
  }
  for (uint32_t i = 0; i < m && sub_layer_flags; ++i) {
    w.U(44, 0).U(44, 0).U(8, 0);
  }
}

Bytes Vps(const Ptl& ptl, uint32_t m) {
  BitWriter w;
  w.U(4, 0).U(2, 3).U(6, 0).U(3, m).U(1, 1).U(16, 0xFFFF);
  WritePtl(w, ptl, m);
  w.U(1, 1).Ue(4).Ue(0).Ue(0).U(6, 0).Ue(0).U(1, 0).U(1, 0);  // rest of the VPS
  return w.Nal(32);
}

BitWriter SpsHead(const Ptl& ptl, uint32_t m, uint32_t chroma_format_idc, uint32_t bit_depth_minus8,
                  uint32_t log2_max_pic_order_cnt_lsb_minus4) {
  BitWriter w;
  w.U(4, 0).U(3, m).U(1, 1);
  WritePtl(w, ptl, m);
  w.Ue(0).Ue(chroma_format_idc);
  if (chroma_format_idc == 3) {
    w.U(1, 0);
  }
  w.Ue(320).Ue(240).U(1, 0);  // size, no conformance window
  w.Ue(bit_depth_minus8).Ue(bit_depth_minus8).Ue(log2_max_pic_order_cnt_lsb_minus4);
  w.U(1, 1);
  for (uint32_t i = 0; i <= m; ++i) {
    w.Ue(4).Ue(2).Ue(0);
  }
  return w.Ue(0).Ue(3).Ue(0).Ue(3).Ue(1).Ue(1);
}

void SpsTail(BitWriter& w, const BitWriter* vui) {
  w.U(1, 0).U(2, 3).U(1, 0);          // no scaling list, amp, sao, no pcm
  w.Ue(1).Ue(1).Ue(0).Ue(0).U(1, 1);  // one RPS: one negative picture
  w.U(1, 0).U(2, 3);                  // no long-term pictures, tmvp, smoothing
  w.U(1, vui != nullptr ? 1 : 0);
  if (vui != nullptr) {
    w.Append(*vui);
  }
  w.U(1, 0);  // sps_extension_present_flag
}

Bytes Sps(const Ptl& ptl, uint32_t m) {
  BitWriter w = SpsHead(ptl, m);
  SpsTail(w);
  return w.Nal(33);
}

Bytes Pps(bool tiles, bool wavefront) {
  BitWriter w;
  w.Ue(0).Ue(0).U(7, 0b0000010).Ue(0).Ue(0).Ue(0).U(2, 0).U(1, 1).Ue(1);
  w.Ue(0).Ue(0).U(4, 0).U(1, tiles ? 1 : 0).U(1, wavefront ? 1 : 0);
  if (tiles) {
    w.Ue(1).Ue(0).U(1, 1);  // two tile columns, uniform spacing
  }
  return w.U(1, 1).U(2, 0).U(1, 0).U(1, 0).Nal(34);
}

}  // namespace kx::test
