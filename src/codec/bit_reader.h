// Most-significant-bit-first reader over an RBSP, with the H.265 descriptors
// u(n) and ue(v) that the parameter-set parses need.
#ifndef KX_CODEC_BIT_READER_H_
#define KX_CODEC_BIT_READER_H_

#include <cstdint>

namespace kx::codec {

// Bitstream errors are sticky: a read or skip that would pass the end of the
// data, or an exp-Golomb code with 32 or more leading zeros (which no 32-bit
// syntax element has), sets a flag, returns 0 and never touches memory
// outside the data. The parses check ok() and fail the NAL unit, so a
// truncated or corrupt parameter set never yields a configuration record.
class BitReader {
 public:
  // Largest RBSP the reader accepts: its length in bits must fit 0x7FFFFFF7.
  static constexpr uint32_t kMaxBytes = 0x0FFFFFFE;

  // Returns false (and sets nothing up) when `size` is above kMaxBytes.
  bool Init(const uint8_t* data, uint32_t size);

  uint32_t ReadBits(uint32_t n);  // u(n), 1 <= n <= 32
  uint64_t ReadBits48();          // a 16-bit then a 32-bit read, joined
  void SkipBits(uint32_t n);
  uint32_t ReadUe();  // ue(v); also skips se(v) values, whose codes are alike

  [[nodiscard]] bool ok() const { return ok_; }
  [[nodiscard]] uint32_t position() const { return position_; }
  void set_position(uint32_t bits) { position_ = bits; }

 private:
  // The 32 bits from the current position, zeros past the end of the data.
  [[nodiscard]] uint32_t PeekWord() const;
  bool Consume(uint32_t n);  // false (and the error set) when n bits are not there

  const uint8_t* data_ = nullptr;
  uint32_t size_in_bits_ = 0;
  uint32_t position_ = 0;
  bool ok_ = false;
};

}  // namespace kx::codec

#endif  // KX_CODEC_BIT_READER_H_
