// FileEx, what every muxer writes through: the ".iso:" virtual target opens
// nothing and takes everything; real files (UTF-16 names) take rewrites in
// place and 64-bit positions; held pieces keep their order.
#include <gtest/gtest.h>

#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <tuple>

#include "src/io/file_ex.h"
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
    EXPECT_EQ(std::make_tuple(file.is_virtual_target(), Write(file, "data"), file.SeekTo(100, 0),
                              file.Tell(), file.GetLength()),
              std::make_tuple(true, 0U, 0, int64_t{0}, int64_t{1}));
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
  EXPECT_EQ(std::make_tuple(file.GetLength(), file.Tell()), std::make_tuple(8, 4));
  const int64_t far = (int64_t{5} << 30) + 3;
  EXPECT_EQ(file.SeekTo(far, 0), 0);
  EXPECT_EQ(Write(file, "end"), 3U);
  EXPECT_EQ(std::make_tuple(file.GetLength(), file.Tell()), std::make_tuple(far + 3, far + 3));
  file.Close();
  const auto path = dir.path() / "t\xC3\xABst_\xF0\x9F\x98\x80.iso";
  EXPECT_EQ(std::filesystem::file_size(path), static_cast<uintmax_t>(far + 3));
  std::string head(8, '\0');
  std::ifstream(path, std::ios::binary).read(head.data(), 8);
  EXPECT_EQ(head, "ABxyEFGH");
}

TEST(FileEx, HeldPiecesReachTheFileInOrderWhenReleased) {
  const TempDir dir;
  FileEx file;
  ASSERT_TRUE(file.Open(dir.WidePath(u"held.bin").c_str(), "wb"));
  std::deque<std::string> pieces;  // alive until released, as a Cluster's are
  std::string expected;
  const auto put = [&](size_t size, char fill) {
    expected += pieces.emplace_back(size, fill);
    EXPECT_EQ(Write(file, pieces.back()), size);
  };
  // Large pieces are held between buffered ones; 160 KiB of small pieces
  // overflow the buffer in the middle of the hold.
  auto held = std::make_unique<FileEx::HeldWrites>(file);
  put(10, 'a');
  put(20000, 'b');
  put(5, 'c');
  for (char fill = 'd'; fill < 'x'; ++fill) {
    put(8000, fill);
  }
  put(16384, 'x');
  EXPECT_EQ(file.Tell(), static_cast<int64_t>(expected.size()));
  held.reset();
  const auto path = dir.path() / "held.bin";
  EXPECT_EQ(std::filesystem::file_size(path), expected.size());
  // A hold without large pieces leaves the small ones buffered.
  held = std::make_unique<FileEx::HeldWrites>(file);
  put(100, 'y');
  held.reset();
  put(30000, 'z');  // not held: straight through, after the buffer
  file.Close();
  std::string content(expected.size(), '\0');
  std::ifstream(path, std::ios::binary)
      .read(content.data(), static_cast<std::streamsize>(content.size()));
  EXPECT_EQ(std::filesystem::file_size(path), expected.size());
  EXPECT_TRUE(content == expected);
}

}  // namespace
}  // namespace kx::test
