// A UTF-8 text element held as UTF-16 (titles, application names, file
// names). An empty text leaves it out of the file.
#ifndef KX_EBML_UTF8_H_
#define KX_EBML_UTF8_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

// The payload is the UTF-8 form without terminator; its size is the UTF-8
// byte count, not the number of UTF-16 units. Texts of any length are written
// in full: cutting them at 4095 bytes, as older writers did, would lose text
// without telling anyone, and the size field codes any length that fits in
// memory.
class CUTF8 : public CID {
 public:
  explicit CUTF8(uint32_t id);

  void Set(std::u16string_view text) { value_.assign(text); }
  void Clear() { value_.clear(); }
  [[nodiscard]] const std::u16string& value() const { return value_; }

  [[nodiscard]] Extent Measure() const override;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  std::u16string value_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_UTF8_H_
