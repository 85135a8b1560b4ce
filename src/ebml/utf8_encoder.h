// UTF-16 to UTF-8 one code point at a time, into a caller's sink. The same
// walk both counts (Size) and writes (Write) a text element, so its size and
// its bytes cannot disagree, and neither needs a heap copy of the text.
// Surrogate pairs are joined; an unpaired surrogate becomes U+FFFD, as the
// platform's conversion does.
#ifndef KX_EBML_UTF8_ENCODER_H_
#define KX_EBML_UTF8_ENCODER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace MatroskaWriter {

// Codes `c` (at most U+10FFFF) into `out` (4 bytes); returns the byte count.
size_t EncodeUtf8CodePoint(char32_t c, uint8_t* out);

// Calls sink(const uint8_t* bytes, size_t count) once per code point of `text`.
template <typename Sink>
void ForEachUtf8Sequence(std::u16string_view text, Sink&& sink) {
  std::array<uint8_t, 4> sequence{};
  for (size_t i = 0; i < text.size(); ++i) {
    char32_t c = text[i];
    if (c >= 0xD800 && c <= 0xDFFF) {
      const bool paired =
          c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
      if (paired) {
        c = 0x10000 + ((c - 0xD800) << 10) + (text[i + 1] - 0xDC00);
        ++i;
      } else {
        c = 0xFFFD;
      }
    }
    sink(static_cast<const uint8_t*>(sequence.data()), EncodeUtf8CodePoint(c, sequence.data()));
  }
}

}  // namespace MatroskaWriter

#endif  // KX_EBML_UTF8_ENCODER_H_
