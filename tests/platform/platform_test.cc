// The platform layer the muxers stand on: FileEx (real files with 64-bit
// positions and UTF-16 names, and the ".iso:" virtual target that opens
// nothing), and the runtime's random sequence behind track UIDs.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "src/io/file_ex.h"
#include "src/platform/crt_rand.h"
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

TEST(CrtRand, FollowsTheUnseededWindowsRuntime) {
  platform::ResetCrtRand();
  std::vector<int32_t> values;
  for (int i = 0; i < 5; ++i) values.push_back(platform::CrtRand());
  EXPECT_EQ(values, (std::vector<int32_t>{41, 18467, 6334, 26500, 19169}));
}

}  // namespace
}  // namespace kx::test
