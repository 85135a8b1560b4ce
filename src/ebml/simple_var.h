// Base of the scalar value elements: a value with a "set" flag. An unset
// scalar is left out of the file; a set one is always written, even when it
// holds 0 or the standard's default.
#ifndef KX_EBML_SIMPLE_VAR_H_
#define KX_EBML_SIMPLE_VAR_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

template <typename T>
class CSimpleVar : public CID {
 public:
  explicit CSimpleVar(uint32_t id) : CID(id) {}

  void Set(T v) {
    value_ = v;
    set_ = true;
  }
  [[nodiscard]] bool IsSet() const { return set_; }
  [[nodiscard]] T Value() const { return value_; }
  void Clear() {
    value_ = T{};
    set_ = false;
  }

  [[nodiscard]] Extent Measure() const override { return set_ ? Standard(ValueWidth()) : Extent{}; }

 protected:
  // Bytes of the coded value (1 to 8).
  [[nodiscard]] virtual size_t ValueWidth() const = 0;
  // Codes the value big-endian in `width` bytes, as ValueWidth reported.
  virtual void EncodeValue(size_t width, uint8_t* out) const = 0;

  // ID, size field and value go to the stream in one write.
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override {
    std::array<uint8_t, kMaxHeaderBytes + 8> buffer{};
    const size_t header = EncodeHeader(extent.payload, buffer.data());
    EncodeValue(static_cast<size_t>(extent.payload), buffer.data() + header);
    return stream.Write(buffer.data(), static_cast<uint32_t>(header + extent.payload));
  }

 private:
  T value_{};
  bool set_ = false;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SIMPLE_VAR_H_
