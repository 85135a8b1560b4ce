// FileEx is what the muxers write through: names ending in an ".iso:" target
// must open nothing, real files must take rewrites in place, and positions
// must stay 64-bit.
#include "src/io/file_ex.h"

#include <unistd.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/support/temp_dir.h"

namespace {

using kx::FileEx;
using kx::test::ReadFileBytes;
using kx::test::TempDir;

size_t EntryCount(const std::filesystem::path& dir) {
  size_t count = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(dir)) {
    if (entry.is_regular_file()) {
      ++count;
    }
  }
  return count;
}

uint32_t WriteText(FileEx& file, const std::string& text) {
  return file.Write(text.data(), static_cast<uint32_t>(text.size()));
}

void ExpectVirtualTarget(FileEx& file) {
  EXPECT_TRUE(file.is_virtual_target());
  EXPECT_FALSE(file.is_open());
  EXPECT_EQ(WriteText(file, "data"), 0U);
  std::array<char, 4> buffer{};
  EXPECT_EQ(file.Read(buffer.data(), buffer.size()), 0U);
  EXPECT_EQ(file.Tell(), 0);
  EXPECT_EQ(file.GetLength(), 1);
  // Seeks succeed and move nothing.
  EXPECT_EQ(file.SeekTo(100, 0), 0);
  EXPECT_EQ(file.SeekTo(-5, 1), 0);
  EXPECT_EQ(file.SeekTo(0, 2), 0);
  EXPECT_EQ(file.Tell(), 0);
}

TEST(FileExVirtualTarget, IsoTargetsOpenNothing) {
  const TempDir dir;
  // The last extension decides, the five characters ".iso:" in any case.
  for (const std::u16string_view name :
       {u"disc.iso:1", u"DISC.ISO:x", u"disc.IsO:", u"backup.mkv.iso:2", u"a.iso:dir/noext"}) {
    SCOPED_TRACE(std::string(name.begin(), name.end()));
    FileEx file;
    EXPECT_TRUE(file.Open(dir.WidePath(name).c_str(), "wb"));
    ExpectVirtualTarget(file);
    // The mode plays no part for a virtual target, not even a missing one.
    FileEx no_mode;
    EXPECT_TRUE(no_mode.Open(dir.WidePath(name).c_str(), nullptr));
    EXPECT_TRUE(no_mode.is_virtual_target());
  }
  EXPECT_EQ(EntryCount(dir.path()), 0U);
}

TEST(FileExVirtualTarget, StaysVirtualAfterClose) {
  const TempDir dir;
  FileEx file;
  ASSERT_TRUE(file.Open(dir.WidePath(u"disc.iso:1").c_str(), "wb"));
  file.Close();
  ExpectVirtualTarget(file);
}

TEST(FileExOpen, NamesThatAreNotIsoTargetsOpenRealFiles) {
  const TempDir dir;
  std::filesystem::create_directory(dir.path() / "film.iso:1");
  struct Case {
    std::u16string name;
    std::string on_disk;
  };
  const std::vector<Case> cases = {
      {u"disc.iso", "disc.iso"},                      // no colon
      {u"disc.iso1", "disc.iso1"},                    // another character than the colon
      {u"disc.is:o", "disc.is:o"},                    // not the five characters in order
      {u"film.iso:1/out.mkv", "film.iso:1/out.mkv"},  // the last dot starts ".mkv"
      {u"disc.iso:1.mkv", "disc.iso:1.mkv"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.on_disk);
    FileEx file;
    ASSERT_TRUE(file.Open(dir.WidePath(c.name).c_str(), "wb"));
    EXPECT_FALSE(file.is_virtual_target());
    EXPECT_TRUE(file.is_open());
    EXPECT_EQ(WriteText(file, c.on_disk), c.on_disk.size());
    file.Close();
    EXPECT_EQ(ReadFileBytes(dir.path() / c.on_disk), c.on_disk);
  }
}

// Restores the working directory it changed, so a relative name without any
// dot at all can be tried (the temporary directory's path may hold dots).
class ScopedWorkingDirectory {
 public:
  explicit ScopedWorkingDirectory(const std::filesystem::path& dir)
      : previous_(std::filesystem::current_path()) {
    std::filesystem::current_path(dir);
  }
  ScopedWorkingDirectory(const ScopedWorkingDirectory&) = delete;
  ScopedWorkingDirectory& operator=(const ScopedWorkingDirectory&) = delete;
  ~ScopedWorkingDirectory() { std::filesystem::current_path(previous_); }

 private:
  std::filesystem::path previous_;
};

TEST(FileExOpen, NameWithoutAnyDotOpensARealFile) {
  const TempDir dir;
  {
    const ScopedWorkingDirectory in_dir(dir.path());
    FileEx file;
    ASSERT_TRUE(file.Open(u"output", "wb"));
    EXPECT_FALSE(file.is_virtual_target());
    EXPECT_EQ(WriteText(file, "xyz"), 3U);
  }
  EXPECT_EQ(ReadFileBytes(dir.path() / "output"), "xyz");
}

TEST(FileExOpen, FailuresLeaveTheObjectClosed) {
  const TempDir dir;
  FileEx file;
  EXPECT_FALSE(file.Open(dir.WidePath(u"out.mkv").c_str(), nullptr));
  EXPECT_FALSE(file.is_open());
  EXPECT_EQ(EntryCount(dir.path()), 0U);

  EXPECT_FALSE(file.Open(dir.WidePath(u"missing/out.mkv").c_str(), "wb"));
  EXPECT_FALSE(file.is_open());
  EXPECT_FALSE(file.is_virtual_target());

  // Without a file every operation is harmless.
  EXPECT_EQ(WriteText(file, "data"), 0U);
  std::array<char, 4> buffer{};
  EXPECT_EQ(file.Read(buffer.data(), buffer.size()), 0U);
  EXPECT_EQ(file.GetLength(), 0);
  EXPECT_EQ(file.Tell(), 0);
  file.Flush();
  file.Close();
}

TEST(FileExOpen, ReopeningClosesTheFirstFile) {
  const TempDir dir;
  FileEx file;
  ASSERT_TRUE(file.Open(dir.WidePath(u"first.mkv").c_str(), "wb"));
  EXPECT_EQ(WriteText(file, "first"), 5U);
  ASSERT_TRUE(file.Open(dir.WidePath(u"second.mkv").c_str(), "wb"));
  // The first file's buffered bytes reached the disk when it was closed.
  EXPECT_EQ(ReadFileBytes(dir.path() / "first.mkv"), "first");
  EXPECT_EQ(WriteText(file, "second"), 6U);
  EXPECT_EQ(file.Tell(), 6);

  // A virtual target closes the real file too, and writes then go nowhere.
  ASSERT_TRUE(file.Open(dir.WidePath(u"disc.iso:1").c_str(), "wb"));
  EXPECT_EQ(ReadFileBytes(dir.path() / "second.mkv"), "second");
  EXPECT_EQ(WriteText(file, "lost"), 0U);

  // And a real file after a virtual target is real again.
  ASSERT_TRUE(file.Open(dir.WidePath(u"third.mkv").c_str(), "wb"));
  EXPECT_FALSE(file.is_virtual_target());
  EXPECT_EQ(WriteText(file, "3rd"), 3U);
  EXPECT_EQ(file.GetLength(), 3);
  file.Close();
  EXPECT_EQ(ReadFileBytes(dir.path() / "third.mkv"), "3rd");
  EXPECT_EQ(EntryCount(dir.path()), 3U);
}

TEST(FileExOpen, WbTruncatesAnExistingFile) {
  const TempDir dir;
  const std::u16string name = dir.WidePath(u"out.mkv");
  FileEx file;
  ASSERT_TRUE(file.Open(name.c_str(), "wb"));
  WriteText(file, "a long first version");
  ASSERT_TRUE(file.Open(name.c_str(), "wb"));
  WriteText(file, "short");
  file.Close();
  EXPECT_EQ(ReadFileBytes(dir.path() / "out.mkv"), "short");
}

TEST(FileExPositions, RewriteInPlaceAndReturnToTheEnd) {
  const TempDir dir;
  FileEx file;
  ASSERT_TRUE(file.Open(dir.WidePath(u"out.mkv").c_str(), "wb"));
  EXPECT_EQ(WriteText(file, "ABCDEFGH"), 8U);
  EXPECT_EQ(file.Tell(), 8);
  // Back to a noted position, overwrite, then on from the end as the muxers do.
  EXPECT_EQ(file.SeekTo(2, 0), 0);
  EXPECT_EQ(file.Tell(), 2);
  EXPECT_EQ(WriteText(file, "xy"), 2U);
  EXPECT_EQ(file.Tell(), 4);
  EXPECT_EQ(file.SeekTo(1, 1), 0);
  EXPECT_EQ(WriteText(file, "z"), 1U);
  EXPECT_EQ(file.GetLength(), 8);
  EXPECT_EQ(file.Tell(), 6);  // GetLength leaves the position alone
  EXPECT_EQ(file.SeekTo(0, 2), 0);
  EXPECT_EQ(file.Tell(), 8);
  EXPECT_EQ(WriteText(file, "IJ"), 2U);
  EXPECT_EQ(file.GetLength(), 10);
  // Bad seeks fail without moving.
  EXPECT_NE(file.SeekTo(-100, 0), 0);
  EXPECT_NE(file.SeekTo(0, 3), 0);
  EXPECT_EQ(file.Tell(), 10);
  file.Flush();
  EXPECT_EQ(ReadFileBytes(dir.path() / "out.mkv"), "ABxyEzGHIJ");
  file.Close();
  EXPECT_EQ(ReadFileBytes(dir.path() / "out.mkv"), "ABxyEzGHIJ");
}

TEST(FileExPositions, ReadBackWhatWasWritten) {
  const TempDir dir;
  const std::u16string name = dir.WidePath(u"in.mkv");
  {
    FileEx out;
    ASSERT_TRUE(out.Open(name.c_str(), "wb"));
    WriteText(out, "0123456789");
  }
  FileEx in;
  ASSERT_TRUE(in.Open(name.c_str(), "rb"));
  EXPECT_EQ(in.SeekTo(-4, 2), 0);
  std::array<char, 8> buffer{};
  EXPECT_EQ(in.Read(buffer.data(), buffer.size()), 4U);  // a short read at the end
  EXPECT_EQ(std::string(buffer.data(), 4), "6789");
}

TEST(FileExPositions, BeyondFourGibibytes) {
  const TempDir dir;
  // Positions past 2^32 (and past 2^31) must survive; the hole is sparse.
  const int64_t far = (int64_t{5} << 30) + 3;
  const std::u16string name = dir.WidePath(u"big.mkv");
  {
    FileEx file;
    ASSERT_TRUE(file.Open(name.c_str(), "wb"));
    EXPECT_EQ(WriteText(file, "head"), 4U);
    ASSERT_EQ(file.SeekTo(far, 0), 0);
    EXPECT_EQ(file.Tell(), far);
    EXPECT_EQ(WriteText(file, "tail"), 4U);
    EXPECT_EQ(file.Tell(), far + 4);
    EXPECT_EQ(file.GetLength(), far + 4);
    // Back to the start and forward again relative to the current position.
    ASSERT_EQ(file.SeekTo(0, 0), 0);
    EXPECT_EQ(file.GetLength(), far + 4);
    EXPECT_EQ(file.Tell(), 0);
    ASSERT_EQ(file.SeekTo(far - 2, 1), 0);
    EXPECT_EQ(file.Tell(), far - 2);
    EXPECT_EQ(WriteText(file, "ne"), 2U);
    ASSERT_EQ(file.SeekTo(-(far + 4), 2), 0);
    EXPECT_EQ(file.Tell(), 0);
  }
  EXPECT_EQ(std::filesystem::file_size(dir.path() / "big.mkv"), static_cast<uintmax_t>(far + 4));

  FileEx in;
  ASSERT_TRUE(in.Open(name.c_str(), "rb"));
  EXPECT_EQ(in.GetLength(), far + 4);
  ASSERT_EQ(in.SeekTo(far - 2, 0), 0);
  std::array<char, 6> buffer{};
  EXPECT_EQ(in.Read(buffer.data(), buffer.size()), 6U);
  EXPECT_EQ(std::string(buffer.data(), buffer.size()), "netail");
}

}  // namespace
