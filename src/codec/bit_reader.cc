#include "src/codec/bit_reader.h"

#include <array>

namespace kx::codec {
namespace {

// floor(log2(i)), with 0 for i = 0.
constexpr std::array<uint8_t, 256> MakeLog2Table() {
  std::array<uint8_t, 256> table{};
  for (uint32_t i = 2; i < table.size(); ++i) {
    table[i] = static_cast<uint8_t>(table[i / 2] + 1);
  }
  return table;
}

constexpr std::array<uint8_t, 256> kLog2 = MakeLog2Table();

// floor(log2(x)) for x > 0, from the upper 16 and then the upper 8 bits first.
uint32_t Log2(uint32_t x) {
  uint32_t result = 0;
  if ((x & 0xFFFF0000U) != 0) {
    x >>= 16;
    result += 16;
  }
  if ((x & 0xFF00U) != 0) {
    x >>= 8;
    result += 8;
  }
  return result + kLog2[x];
}

}  // namespace

bool BitReader::Init(const uint8_t* data, uint32_t size) {
  if (size > kMaxBytes) {
    return false;
  }
  data_ = data;
  size_in_bits_ = size * 8;
  position_ = 0;
  ok_ = true;
  return true;
}

uint32_t BitReader::PeekWord() const {
  const uint32_t byte = position_ / 8;
  const uint32_t size_in_bytes = size_in_bits_ / 8;
  uint64_t window = 0;
  for (uint32_t i = 0; i < 5; ++i) {
    window <<= 8;
    if (byte + i < size_in_bytes) {
      window |= data_[byte + i];
    }
  }
  return static_cast<uint32_t>(window >> (8 - position_ % 8));
}

bool BitReader::Consume(uint32_t n) {
  if (!ok_ || n > size_in_bits_ - position_) {
    ok_ = false;
    position_ = size_in_bits_;
    return false;
  }
  position_ += n;
  return true;
}

uint32_t BitReader::ReadBits(uint32_t n) {
  if (n == 0 || n > 32) {
    ok_ = false;
    return 0;
  }
  const uint32_t word = ok_ ? PeekWord() : 0;
  if (!Consume(n)) {
    return 0;
  }
  return n == 32 ? word : word >> (32 - n);
}

uint64_t BitReader::ReadBits48() {
  const uint64_t high = ReadBits(16);
  const uint64_t low = ReadBits(32);
  return (high << 32) | low;
}

void BitReader::SkipBits(uint32_t n) { Consume(n); }

uint32_t BitReader::ReadUe() {
  const uint32_t word = ok_ ? PeekWord() : 0;
  if (word == 0) {
    ok_ = false;
    return 0;
  }
  const uint32_t leading_zeros = 31 - Log2(word);
  SkipBits(leading_zeros);
  // The k + 1 bits read start with a 1, so the value is at least 1.
  const uint32_t value = ReadBits(leading_zeros + 1);
  return ok_ ? value - 1 : 0;
}

}  // namespace kx::codec
