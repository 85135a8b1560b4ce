// Host texts are UTF-16 and everything the module hands to Linux or writes
// into text elements is UTF-8, so both directions are checked against byte
// strings written out by hand.
#include "src/platform/utf16.h"

#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

using kx::platform::Utf16Length;
using kx::platform::Utf16ToUtf8;
using kx::platform::Utf8ToUtf16;

TEST(Utf16ToUtf8, EncodesEveryLength) {
  // One, two, three and four UTF-8 bytes; the last from a surrogate pair.
  EXPECT_EQ(Utf16ToUtf8(u"A\u00e9\u65e5\U0001F600"), "A\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80");
  // The edges of each length, and the highest code point.
  EXPECT_EQ(Utf16ToUtf8(u"\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010FFFF"),
            "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
  EXPECT_EQ(Utf16ToUtf8(u"t\u00ebst_\u65e5\u672c_\U0001F600.mkv"),
            "t\xC3\xABst_\xE6\x97\xA5\xE6\x9C\xAC_\xF0\x9F\x98\x80.mkv");
  EXPECT_EQ(Utf16ToUtf8(u""), "");
  // The view's length counts, not a NUL inside it.
  EXPECT_EQ(Utf16ToUtf8(std::u16string_view(u"a\0b", 3)), std::string("a\0b", 3));
}

TEST(Utf16ToUtf8, UnpairedSurrogatesBecomeReplacementCharacters) {
  const std::string fffd = "\xEF\xBF\xBD";
  const std::u16string high_at_end = {u'a', 0xD83D};
  const std::u16string high_then_letter = {0xD83D, u'b'};
  const std::u16string lone_low = {u'a', 0xDE00, u'b'};
  const std::u16string reversed_pair = {0xDE00, 0xD83D};
  const std::u16string two_highs_then_low = {0xD83D, 0xD83D, 0xDE00};
  EXPECT_EQ(Utf16ToUtf8(high_at_end), "a" + fffd);
  EXPECT_EQ(Utf16ToUtf8(high_then_letter), fffd + "b");
  EXPECT_EQ(Utf16ToUtf8(lone_low), "a" + fffd + "b");
  EXPECT_EQ(Utf16ToUtf8(reversed_pair), fffd + fffd);
  // The second high surrogate still pairs with the low one after it.
  EXPECT_EQ(Utf16ToUtf8(two_highs_then_low), fffd + "\xF0\x9F\x98\x80");
}

TEST(Utf8ToUtf16, DecodesEveryLength) {
  EXPECT_EQ(Utf8ToUtf16("A\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80"), u"A\u00e9\u65e5\U0001F600");
  EXPECT_EQ(Utf8ToUtf16("\xF4\x8F\xBF\xBF"), u"\U0010FFFF");
  for (const std::u16string_view sample : {u"", u"plain", u"t\u00ebst_\u65e5\u672c_\U0001F600.mkv",
                                           u"\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010FFFF"}) {
    EXPECT_EQ(Utf8ToUtf16(Utf16ToUtf8(sample)), sample);
  }
}

// Malformed input must neither swallow the valid text around it nor produce
// anything but U+FFFD; how many replacements a bad sequence yields is left open.
std::u16string CollapseReplacements(const std::u16string& text) {
  std::u16string out;
  for (char16_t c : text) {
    if (c == 0xFFFD && !out.empty() && out.back() == 0xFFFD) {
      continue;
    }
    out.push_back(c);
  }
  return out;
}

TEST(Utf8ToUtf16, MalformedSequencesBecomeReplacementCharacters) {
  struct Case {
    const char* name;
    std::string input;
  };
  const std::vector<Case> cases = {
      {"lone continuation", "a\x80z"},
      {"truncated three-byte", "a\xE6\x97z"},
      {"truncated at end", std::string("a\xF0\x9F\x98")},
      {"overlong", "a\xC0\x80z"},
      {"encoded surrogate", "a\xED\xA0\x80z"},
      {"above U+10FFFF", "a\xF4\x90\x80\x80z"},
      {"invalid lead", "a\xFFz"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::u16string expected = u"a\uFFFD";
    if (c.input.back() == 'z') {
      expected.push_back(u'z');
    }
    EXPECT_EQ(CollapseReplacements(Utf8ToUtf16(c.input)), expected);
  }
}

TEST(Utf16Length, CountsUnitsUpToTheNul) {
  EXPECT_EQ(Utf16Length(nullptr), 0U);
  EXPECT_EQ(Utf16Length(u""), 0U);
  EXPECT_EQ(Utf16Length(u"mkv"), 3U);
  EXPECT_EQ(Utf16Length(u"\U0001F600"), 2U);
}

}  // namespace
