#include "src/codec/fourcc.h"

namespace kx {

std::u16string FourCCText(uint32_t fourcc) {
  std::u16string text;
  for (int i = 0; i < 4; ++i) {
    const auto byte = static_cast<int8_t>((fourcc >> (8 * i)) & 0xFF);
    text.push_back(static_cast<char16_t>(byte));
  }
  return text;
}

}  // namespace kx
