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

// Longest coded scalar: ID, size field and an 8-byte value.
inline constexpr size_t kMaxScalarBytes = kMaxHeaderBytes + 8;

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

  // Size(true) without a virtual call: 0 when unset.
  [[nodiscard]] uint64_t FullSize() const {
    if (!set_) {
      return 0;
    }
    const size_t width = ValueWidth();
    return HeaderSize(width) + width;
  }

  // Codes the whole element (ID, size field, value) into `out`, which has
  // room for kMaxScalarBytes; nothing when the value is unset.
  size_t Encode(uint8_t* out) const {
    if (!set_) {
      return 0;
    }
    const size_t width = ValueWidth();
    const size_t header = EncodeHeader(width, out);
    EncodeValue(width, out + header);
    return header + width;
  }

 protected:
  // Bytes of the coded value (1 to 8).
  [[nodiscard]] virtual size_t ValueWidth() const = 0;
  // Codes the value big-endian in `width` bytes, as ValueWidth reported.
  virtual void EncodeValue(size_t width, uint8_t* out) const = 0;

  // ID, size field and value go to the stream in one write.
  int32_t Emit(kx::IStream& stream, const Extent& /*extent*/) const override {
    std::array<uint8_t, kMaxScalarBytes> buffer{};
    return stream.Write(buffer.data(), static_cast<uint32_t>(Encode(buffer.data())));
  }

 private:
  T value_{};
  bool set_ = false;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SIMPLE_VAR_H_
