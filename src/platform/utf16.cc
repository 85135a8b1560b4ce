#include "src/platform/utf16.h"

#include <cstdint>

#if defined(_WIN32)
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
#endif

namespace kx::platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool IsHighSurrogate(char16_t u) { return u >= 0xD800 && u <= 0xDBFF; }

#if !defined(_WIN32)
void AppendUtf8(std::string& out, char32_t c) {
  if (c < 0x80) {
    out.push_back(static_cast<char>(c));
  } else if (c < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (c >> 6)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else if (c < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (c >> 12)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (c >> 18)));
    out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
  }
}

bool IsLowSurrogate(char16_t u) { return u >= 0xDC00 && u <= 0xDFFF; }
#endif

}  // namespace

#if defined(_WIN32)

// The system conversion; like the portable one below it joins surrogate
// pairs and turns an unpaired surrogate into U+FFFD (no WC_ERR_INVALID_CHARS).
std::string Utf16ToUtf8(std::u16string_view text) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t), "Windows wide characters are UTF-16 units");
  std::string out;
  // The API counts in int; longer texts go in pieces that never split a pair.
  constexpr size_t kPiece = size_t{1} << 28;
  size_t done = 0;
  while (done < text.size()) {
    size_t count = text.size() - done;
    if (count > kPiece) {
      count = kPiece;
      if (IsHighSurrogate(text[done + count - 1])) --count;
    }
    const auto* wide = reinterpret_cast<const wchar_t*>(text.data() + done);
    const int units = static_cast<int>(count);
    const int bytes = WideCharToMultiByte(CP_UTF8, 0, wide, units, nullptr, 0, nullptr, nullptr);
    if (bytes > 0) {
      const size_t at = out.size();
      out.resize(at + static_cast<size_t>(bytes));
      WideCharToMultiByte(CP_UTF8, 0, wide, units, out.data() + at, bytes, nullptr, nullptr);
    }
    done += count;
  }
  return out;
}

#else

std::string Utf16ToUtf8(std::u16string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const char16_t u = text[i];
    if (IsHighSurrogate(u) && i + 1 < text.size() && IsLowSurrogate(text[i + 1])) {
      AppendUtf8(out, 0x10000 + ((char32_t(u) - 0xD800) << 10) + (char32_t(text[i + 1]) - 0xDC00));
      ++i;
    } else if (IsHighSurrogate(u) || IsLowSurrogate(u)) {
      AppendUtf8(out, kReplacement);
    } else {
      AppendUtf8(out, u);
    }
  }
  return out;
}

#endif

std::u16string Utf8ToUtf16(std::string_view text) {
  std::u16string out;
  out.reserve(text.size());
  size_t i = 0;
  while (i < text.size()) {
    const auto lead = static_cast<uint8_t>(text[i]);
    int extra = 0;
    char32_t c = 0;
    if (lead < 0x80) {
      c = lead;
    } else if ((lead & 0xE0) == 0xC0) {
      extra = 1;
      c = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
      extra = 2;
      c = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
      extra = 3;
      c = lead & 0x07;
    } else {
      out.push_back(static_cast<char16_t>(kReplacement));
      ++i;
      continue;
    }
    bool valid = true;
    size_t k = 1;
    for (; k <= static_cast<size_t>(extra); ++k) {
      if (i + k >= text.size() || (static_cast<uint8_t>(text[i + k]) & 0xC0) != 0x80) {
        valid = false;
        break;
      }
      c = (c << 6) | (static_cast<uint8_t>(text[i + k]) & 0x3F);
    }
    static constexpr char32_t kMinimum[] = {0, 0x80, 0x800, 0x10000};
    if (!valid || c < kMinimum[extra] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      out.push_back(static_cast<char16_t>(kReplacement));
      i += valid ? static_cast<size_t>(extra) + 1 : k;
      continue;
    }
    if (c >= 0x10000) {
      c -= 0x10000;
      out.push_back(static_cast<char16_t>(0xD800 + (c >> 10)));
      out.push_back(static_cast<char16_t>(0xDC00 + (c & 0x3FF)));
    } else {
      out.push_back(static_cast<char16_t>(c));
    }
    i += static_cast<size_t>(extra) + 1;
  }
  return out;
}

size_t Utf16Length(const char16_t* text) {
  if (text == nullptr) {
    return 0;
  }
  size_t n = 0;
  while (text[n] != 0) {
    ++n;
  }
  return n;
}

}  // namespace kx::platform
