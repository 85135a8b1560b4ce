// What the whole-module fuzz targets share: the fuzzer's bytes read front to
// back, FourCCs, and the null pointer a host passes for no data.
#ifndef KX_FUZZ_FUZZ_INPUT_H_
#define KX_FUZZ_FUZZ_INPUT_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

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
