// A narrow-text element (DocType, Language, URLs): the bytes as given, no
// conversion and no terminator. An empty text leaves it out of the file.
#ifndef KX_EBML_ANSI_H_
#define KX_EBML_ANSI_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class CANSI : public CID {
 public:
  explicit CANSI(uint32_t id);

  void Set(std::string_view text) { value_.assign(text); }
  void Clear() { value_.clear(); }
  [[nodiscard]] const std::string& value() const { return value_; }

  [[nodiscard]] Extent Measure() const override;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  std::string value_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_ANSI_H_
