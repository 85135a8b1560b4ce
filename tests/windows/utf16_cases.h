// UTF-16 -> UTF-8 cases that both builds of the conversion must get right:
// the portable one on Linux (checked by GoogleTest) and the one over
// WideCharToMultiByte on Windows (checked by platform_check.exe under wine).
// Text elements and the log depend on the two giving the same bytes.
#ifndef KX_TESTS_WINDOWS_UTF16_CASES_H_
#define KX_TESTS_WINDOWS_UTF16_CASES_H_

#include <string_view>

namespace kx::testing {

struct Utf16Case {
  const char* name;
  std::u16string_view utf16;
  std::string_view utf8;
};

using namespace std::string_view_literals;

inline constexpr Utf16Case kUtf16Cases[] = {
    {"empty", u""sv, ""sv},
    {"ascii", u"Tarnwhistle Matroska Muxer"sv, "Tarnwhistle Matroska Muxer"sv},
    {"two-byte", u"\u00e9\u07ff"sv, "\xc3\xa9\xdf\xbf"sv},
    {"three-byte", u"\u0800\u65e5\u3000\uffff"sv,
     "\xe0\xa0\x80\xe6\x97\xa5\xe3\x80\x80\xef\xbf\xbf"sv},
    {"surrogate pair", u"\U0001F3AC"sv, "\xf0\x9f\x8e\xac"sv},
    {"last code point", u"\U0010FFFF"sv, "\xf4\x8f\xbf\xbf"sv},
    {"embedded NUL", u"a\0b"sv, "a\0b"sv},
    {"lone high surrogate at the end", u"x\xd83c"sv, "x\xef\xbf\xbd"sv},
    {"lone low surrogate", u"\xdf00y"sv, "\xef\xbf\xbdy"sv},
    {"high surrogate before a letter",
     u"\xd83c"
     u"a"sv,
     "\xef\xbf\xbd"
     "a"sv},
    {"pair in the wrong order", u"\xdc00\xd800"sv, "\xef\xbf\xbd\xef\xbf\xbd"sv},
};

}  // namespace kx::testing

#endif  // KX_TESTS_WINDOWS_UTF16_CASES_H_
