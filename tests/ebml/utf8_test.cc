#include "src/ebml/utf8.h"

#include <gtest/gtest.h>

#include <string>

#include "src/ebml/element_ids.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/memory_stream.h"

namespace kx::test {
namespace {

using MatroskaWriter::CUTF8;

Bytes Payload(std::u16string_view text) {
  CUTF8 element(0x81);
  element.Set(text);
  const Bytes all = Written(element);
  EXPECT_EQ(element.Size(false), all.size() - 2);
  return {all.begin() + 2, all.end()};
}

TEST(CUTF8Test, PayloadIsUtf8BytesNotUtf16Units) {
  EXPECT_EQ(Payload(u"abc"), Ascii("abc"));
  EXPECT_EQ(Payload(u"\u00E9"), Hex("C3 A9"));
  EXPECT_EQ(Payload(u"\u20AC"), Hex("E2 82 AC"));
  EXPECT_EQ(Payload(u"\U0001F600"), Hex("F0 9F 98 80"));  // one surrogate pair
  EXPECT_EQ(Payload(u"a\u00E9\u20AC"), Hex("61 C3 A9 E2 82 AC"));
}

TEST(CUTF8Test, UnpairedSurrogatesBecomeReplacementCharacters) {
  EXPECT_EQ(Payload(std::u16string(1, u'\xD800')), Hex("EF BF BD"));
  EXPECT_EQ(Payload(std::u16string{u'\xDC00', u'a'}), Hex("EF BF BD 61"));
  EXPECT_EQ(Payload(std::u16string{u'\xD83D', u'\xD83D', u'\xDE00'}), Hex("EF BF BD F0 9F 98 80"));
}

TEST(CUTF8Test, EmptyTextIsAbsent) {
  CUTF8 title(MatroskaWriter::ids::kTitle);
  EXPECT_EQ(title.Size(true), 0U);
  EXPECT_TRUE(Written(title).empty());
  title.Set(u"x");
  title.Clear();
  EXPECT_TRUE(Written(title).empty());
}

TEST(CUTF8Test, TextsBeyond4095BytesAreWrittenInFull) {
  CUTF8 title(MatroskaWriter::ids::kTitle);
  std::u16string text(3000, u'\u00E9');  // 6000 UTF-8 bytes
  text += u"end";
  title.Set(text);
  EXPECT_EQ(title.Size(false), 6003U);
  const Bytes all = Written(title);
  ASSERT_EQ(all.size(), 2U + 2U + 6003U);
  EXPECT_EQ(Bytes(all.begin(), all.begin() + 6), Hex("7B A9 57 73 C3 A9"));
  EXPECT_EQ(Bytes(all.end() - 5, all.end()), Hex("C3 A9 65 6E 64"));
}

}  // namespace
}  // namespace kx::test
