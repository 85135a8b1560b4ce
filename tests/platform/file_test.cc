// The host names its output file in UTF-16; on Linux the file must appear on
// disk under the UTF-8 form of that name, holding exactly what was written.
#include "src/platform/file.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "gtest/gtest.h"
#include "src/io/file_ex.h"
#include "tests/support/temp_dir.h"

namespace {

using kx::test::ReadFileBytes;
using kx::test::TempDir;

// "tëst_日本_😀.mkv" spelled once in UTF-16 and once in UTF-8 bytes, so the
// test does not depend on the converter it exercises.
constexpr std::u16string_view kWideName = u"t\u00ebst_\u65e5\u672c_\U0001F600.mkv";
constexpr std::string_view kUtf8Name = "t\xC3\xABst_\xE6\x97\xA5\xE6\x9C\xAC_\xF0\x9F\x98\x80.mkv";

std::vector<std::string> DirectoryNames(const std::filesystem::path& dir) {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(dir)) {
    names.push_back(entry.path().filename().string());
  }
  return names;
}

TEST(PlatformFile, NonAsciiNameThroughOpenFile) {
  const TempDir dir;
  const std::u16string name = dir.WidePath(kWideName);
  const std::string data("\x1A\x45\xDF\xA3\x00\xFF\r\n", 8);

  std::FILE* out = kx::platform::OpenFile(name.c_str(), u"wb");
  ASSERT_NE(out, nullptr);
  EXPECT_EQ(std::fwrite(data.data(), 1, data.size(), out), data.size());
  std::fclose(out);

  EXPECT_EQ(DirectoryNames(dir.path()), std::vector<std::string>{std::string(kUtf8Name)});
  EXPECT_EQ(ReadFileBytes(dir.path() / kUtf8Name), data);

  // The same wide name opens the same file again.
  std::FILE* in = kx::platform::OpenFile(name.c_str(), u"rb");
  ASSERT_NE(in, nullptr);
  std::array<char, 16> buffer{};
  EXPECT_EQ(std::fread(buffer.data(), 1, buffer.size(), in), data.size());
  std::fclose(in);
  EXPECT_EQ(std::string(buffer.data(), data.size()), data);
}

TEST(PlatformFile, NonAsciiNameThroughFileEx) {
  const TempDir dir;
  const std::u16string name = dir.WidePath(kWideName);
  const std::string data = "\x1A\x45\xDF\xA3 matroska";
  {
    kx::FileEx file;
    ASSERT_TRUE(file.Open(name.c_str(), "wb"));
    EXPECT_EQ(file.Write(data.data(), static_cast<uint32_t>(data.size())), data.size());
  }  // destruction closes the file
  EXPECT_EQ(DirectoryNames(dir.path()), std::vector<std::string>{std::string(kUtf8Name)});
  EXPECT_EQ(ReadFileBytes(dir.path() / kUtf8Name), data);
}

TEST(PlatformFile, MissingDirectoryFails) {
  const TempDir dir;
  const std::u16string name = dir.WidePath(u"no such dir/out.mkv");
  EXPECT_EQ(kx::platform::OpenFile(name.c_str(), u"wb"), nullptr);
  EXPECT_TRUE(DirectoryNames(dir.path()).empty());
}

}  // namespace
