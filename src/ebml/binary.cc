#include "src/ebml/binary.h"

#include <algorithm>

namespace MatroskaWriter {

CBinary::CBinary(uint32_t id) : CID(id) {}

void CBinary::SetText(std::string_view text) {
  bytes_.assign(text.begin(), text.end());
  bytes_.push_back(0);
}

std::string CBinary::Text() const {
  const auto end = std::find(bytes_.begin(), bytes_.end(), uint8_t{0});
  return {bytes_.begin(), end};
}

void CBinary::Assign(const uint8_t* data, size_t size) {
  if (data == nullptr || size == 0) {
    Clear();
    return;
  }
  bytes_.assign(data, data + size);
}

void CBinary::Resize(size_t size) { bytes_.resize(size, 0); }

void CBinary::Clear() { std::vector<uint8_t>().swap(bytes_); }

Extent CBinary::Measure() const { return bytes_.empty() ? Extent{} : Standard(bytes_.size()); }

int32_t CBinary::Emit(kx::IStream& stream, const Extent& extent) const {
  return WriteWithBytes(stream, bytes_.data(), extent.payload);
}

}  // namespace MatroskaWriter
