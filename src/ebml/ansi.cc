#include "src/ebml/ansi.h"

namespace MatroskaWriter {

CANSI::CANSI(uint32_t id) : CID(id) {}

Extent CANSI::Measure() const { return value_.empty() ? Extent{} : Standard(value_.size()); }

int32_t CANSI::Emit(kx::IStream& stream, const Extent& extent) const {
  return WriteWithBytes(stream, reinterpret_cast<const uint8_t*>(value_.data()), extent.payload);
}

}  // namespace MatroskaWriter
