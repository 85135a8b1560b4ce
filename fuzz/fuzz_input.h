// What the whole-module fuzz targets share: the fuzzer's bytes read front to
// back into the records and samples a host hands over.
#ifndef KX_FUZZ_FUZZ_INPUT_H_
#define KX_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace fuzz {

// Past the end everything is 0.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return position_ >= size_; }
  uint8_t Byte() { return position_ < size_ ? data_[position_++] : 0; }
  uint16_t Word() { return static_cast<uint16_t>(Byte() | Byte() << 8); }
  std::vector<uint8_t> Bytes(size_t n) {
    std::vector<uint8_t> bytes;
    while (n-- > 0 && !empty()) bytes.push_back(data_[position_++]);
    return bytes;
  }

  // Picture size and rate, then sample rate and channels.
  void Formats(MediaFileParams& params) {
    params.video.width = static_cast<int16_t>(Word());
    params.video.height = static_cast<int16_t>(Word());
    params.video.frameRate = Byte();
    params.audio.sampleRate = Word();
    params.audio.channels = Byte();
  }

  // A sample's payload (up to 2047 bytes) and its start: whole milliseconds
  // either way and, now and then, a jump far ahead as a broken host clock
  // might give.
  std::vector<uint8_t> Sample(uint8_t op, int64_t& time) {
    std::vector<uint8_t> bytes = Bytes(Word() % 2048);
    time += static_cast<int8_t>(Byte()) * 10000LL;
    if ((op & 0x60) == 0x60 && time < (int64_t{1} << 60)) time += int64_t{Word()} << 40;
    return bytes;
  }

  // A frame table of up to 8 frames whose sizes may lie, kept in `table`.
  const FrameSizeTable* Frames(std::vector<uint32_t>& table) {
    table.assign(1 + 8, 0);
    const int32_t count = static_cast<int32_t>(Byte() % 9) - 1;
    std::memcpy(table.data(), &count, 4);
    for (int i = 1; i <= 8; ++i) table[i] = Byte();
    return reinterpret_cast<const FrameSizeTable*>(table.data());
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
};

inline uint32_t Code(const char (&text)[5]) {
  uint32_t code = 0;
  std::memcpy(&code, text, 4);
  return code;
}

// Null instead of the address of an empty buffer, as a host might pass.
inline const uint8_t* DataOrNull(const std::vector<uint8_t>& bytes) {
  return bytes.empty() ? nullptr : bytes.data();
}

}  // namespace fuzz

#endif  // KX_FUZZ_FUZZ_INPUT_H_
