// The Windows branches of the platform layer against the system's own calls
// (run under wine): wide-name files with 64-bit positions, text conversion,
// the runtime's rand sequence, the wall clock and the processor times.
#include <windows.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "gtest/gtest.h"
#include "src/io/file_ex.h"
#include "src/platform/clock.h"
#include "src/platform/crt_rand.h"
#include "src/platform/file.h"
#include "src/platform/system_times.h"
#include "src/platform/utf16.h"

namespace {

std::u16string TempName(const std::u16string& name) {
  wchar_t dir[MAX_PATH];
  GetTempPathW(MAX_PATH, dir);
  const std::wstring wide = dir + std::to_wstring(GetCurrentProcessId()) + L"_";
  return std::u16string(wide.begin(), wide.end()) + name;
}

TEST(WindowsFile, WideNamesAndPositionsBeyond4GiB) {
  const std::u16string name = TempName(u"\u00e9t\u00e9_\u30c6\u30b9\u30c8_\U0001F4C1.bin");
  std::FILE* file = kx::platform::OpenFile(name.c_str(), u"wb");
  ASSERT_NE(file, nullptr);
  ASSERT_EQ(std::fwrite("0123456789", 1, 10, file), 10u);
  // A position past 4 GiB only moves the file pointer.
  EXPECT_EQ(kx::platform::SeekFile(file, int64_t{5} << 30, SEEK_SET), 0);
  EXPECT_EQ(kx::platform::TellFile(file), int64_t{5} << 30);
  EXPECT_EQ(kx::platform::SeekFile(file, 2, SEEK_SET), 0);
  EXPECT_EQ(std::fwrite("ab", 1, 2, file), 2u);
  EXPECT_NE(kx::platform::SeekFile(file, -1, SEEK_SET), 0);
  std::fclose(file);

  kx::FileEx ex;
  ASSERT_TRUE(ex.Open(name.c_str(), "rb"));
  EXPECT_EQ(ex.GetLength(), 10);
  ex.Close();
  EXPECT_TRUE(DeleteFileW(reinterpret_cast<const wchar_t*>(name.c_str())));
  EXPECT_FALSE(ex.Open(TempName(u"no such folder\\x.mkv").c_str(), "wb"));
}

TEST(WindowsText, ConvertsLikeThePortableBuild) {
  // Every UTF-8 length, and unpaired surrogates as replacement characters.
  EXPECT_EQ(kx::platform::Utf16ToUtf8(u"A\u00e9\u65e5\U0001F600"),
            "A\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80");
  EXPECT_EQ(kx::platform::Utf16ToUtf8(u"x\xd83c"), "x\xef\xbf\xbd");
  EXPECT_EQ(kx::platform::Utf16ToUtf8(u"\xdc00\xd800"), "\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(kx::platform::Utf8ToUtf16("t\xC3\xABst_\xF0\x9F\x98\x80"), u"t\u00ebst_\U0001F600");
}

TEST(WindowsRuntime, CrtRandIsTheRuntimeSequence) {
  kx::platform::ResetCrtRand();
  std::srand(1);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(kx::platform::CrtRand(), std::rand()) << i;
}

TEST(WindowsRuntime, ClocksAndProcessorTimes) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const int64_t unix_now =
      ((static_cast<int64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime) / 10000000 -
      11644473600LL;
  EXPECT_NEAR(static_cast<double>(kx::platform::CurrentUnixTime()), unix_now, 2.0);
  kx::platform::SystemTimes first;
  kx::platform::SystemTimes second;
  ASSERT_TRUE(kx::platform::ReadSystemTimes(&first));
  ASSERT_TRUE(kx::platform::ReadSystemTimes(&second));
  EXPECT_GE(first.kernel, first.idle);
  EXPECT_GE(second.kernel + second.user, first.kernel + first.user);
}

}  // namespace
