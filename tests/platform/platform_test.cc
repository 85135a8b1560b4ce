// The platform layer the muxers stand on: FileEx (real files with 64-bit
// positions, and the ".iso:" virtual target that opens nothing), UTF-16
// names and texts, and the runtime's random sequence behind track UIDs.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "src/io/file_ex.h"
#include "src/platform/crt_rand.h"
#include "src/platform/utf16.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

uint32_t Write(FileEx& file, const std::string& text) {
  return file.Write(text.data(), static_cast<uint32_t>(text.size()));
}

TEST(FileEx, IsoTargetsOpenNothingAndAcceptEverything) {
  const TempDir dir;
  // The last extension decides: ".iso:" in any case.
  for (const std::u16string_view name :
       {u"disc.iso:1", u"DISC.ISO:x", u"backup.mkv.iso:2", u"a.iso:dir/noext"}) {
    FileEx file;
    EXPECT_TRUE(file.Open(dir.WidePath(name).c_str(), "wb"));
    EXPECT_TRUE(file.is_virtual_target());
    EXPECT_EQ(Write(file, "data"), 0U);
    EXPECT_EQ(file.SeekTo(100, 0), 0);
    EXPECT_EQ(file.Tell(), 0);
    EXPECT_EQ(file.GetLength(), 1);
  }
  EXPECT_TRUE(std::filesystem::is_empty(dir.path()));
}

TEST(FileEx, RealFilesRewriteInPlaceBeyondFourGibibytes) {
  const TempDir dir;
  FileEx file;
  EXPECT_FALSE(file.Open(dir.WidePath(u"missing/out.mkv").c_str(), "wb"));
  EXPECT_EQ(Write(file, "lost"), 0U);
  // Non-ASCII names reach the file system as UTF-8; ".iso" without ':' is real.
  ASSERT_TRUE(file.Open(dir.WidePath(u"t\u00ebst_\U0001F600.iso").c_str(), "wb"));
  EXPECT_FALSE(file.is_virtual_target());
  EXPECT_EQ(Write(file, "ABCDEFGH"), 8U);
  EXPECT_EQ(file.SeekTo(2, 0), 0);
  EXPECT_EQ(Write(file, "xy"), 2U);
  EXPECT_EQ(file.GetLength(), 8);
  EXPECT_EQ(file.Tell(), 4);
  const int64_t far = (int64_t{5} << 30) + 3;
  EXPECT_EQ(file.SeekTo(far, 0), 0);
  EXPECT_EQ(file.Tell(), far);
  EXPECT_EQ(Write(file, "end"), 3U);
  EXPECT_EQ(file.GetLength(), far + 3);
  file.Close();
  const auto path = dir.path() / "t\xC3\xABst_\xF0\x9F\x98\x80.iso";
  EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(far + 3));
  std::ifstream in(path, std::ios::binary);
  std::string head(8, '\0');
  in.read(head.data(), 8);
  EXPECT_EQ(head, "ABxyEFGH");
}

TEST(Utf16, BothDirectionsWithReplacementCharacters) {
  const std::string fffd = "\xEF\xBF\xBD";
  const struct {
    std::u16string utf16;
    std::string utf8;
  } cases[] = {
      {u"A\u00e9\u65e5\U0001F600", "A\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80"},
      {u"\u007f\u0080\u07ff\u0800\uffff\U00010000\U0010FFFF",
       "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"},
      {{u'a', 0xD83D}, "a" + fffd},
      {{0xDE00, 0xD83D, u'b'}, fffd + fffd + "b"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(platform::Utf16ToUtf8(c.utf16), c.utf8);
    if (c.utf8.find(fffd) == std::string::npos) EXPECT_EQ(platform::Utf8ToUtf16(c.utf8), c.utf16);
  }
  // Malformed UTF-8: a stray continuation byte, a cut sequence.
  EXPECT_EQ(platform::Utf8ToUtf16("a\x80"
                                  "b\xE6\x97"),
            u"a\uFFFDb\uFFFD");
}

TEST(CrtRand, FollowsTheUnseededWindowsRuntime) {
  platform::ResetCrtRand();
  std::vector<int32_t> values;
  for (int i = 0; i < 5; ++i) values.push_back(platform::CrtRand());
  EXPECT_EQ(values, (std::vector<int32_t>{41, 18467, 6334, 26500, 19169}));
}

}  // namespace
}  // namespace kx::test
