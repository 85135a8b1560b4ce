// Checks the Windows branches of the platform layer against the real system
// (run under wine): wide-name files with 64-bit positions, the UTF-16 table
// shared with the Linux tests, the clocks, GetSystemTimes, Sleep, the
// debugger output, and the runtime's rand sequence that CrtRand reproduces.
// GoogleTest is not cross-built, so this is a plain program: one line per
// check, exit status 1 when any failed.
//
// Usage: platform_check.exe WORK_DIR
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>

#include "src/io/file_ex.h"
#include "src/platform/clock.h"
#include "src/platform/crt_rand.h"
#include "src/platform/debug_output.h"
#include "src/platform/file.h"
#include "src/platform/system_times.h"
#include "src/platform/utf16.h"
#include "tests/windows/checks.h"
#include "tests/windows/utf16_cases.h"

namespace {

using kx::testing::Checks;

void CheckUtf16(Checks& check) {
  for (const auto& c : kx::testing::kUtf16Cases) {
    check(kx::platform::Utf16ToUtf8(c.utf16) == c.utf8, std::string("UTF-16 to UTF-8: ") + c.name);
  }
}

std::u16string Wide(const std::wstring& text) { return std::u16string(text.begin(), text.end()); }

void CheckFiles(Checks& check, const std::wstring& dir) {
  // Accents, Japanese and a character outside the BMP.
  const std::wstring name = dir + L"\\\u00e9t\u00e9_\u30c6\u30b9\u30c8_\U0001F4C1.bin";
  const std::u16string name16 = Wide(name);
  DeleteFileW(name.c_str());

  std::FILE* file = kx::platform::OpenFile(name16.c_str(), u"wb");
  check(file != nullptr, "_wfopen creates a file with a non-ASCII name");
  if (file == nullptr) return;
  check(std::fwrite("0123456789", 1, 10, file) == 10, "write 10 bytes");
  check(kx::platform::TellFile(file) == 10, "_ftelli64 after the write");
  // A position past 4 GiB only moves the file pointer; nothing is written.
  const int64_t beyond_4g = int64_t{5} << 30;
  check(kx::platform::SeekFile(file, beyond_4g, SEEK_SET) == 0, "_fseeki64 to 5 GiB");
  check(kx::platform::TellFile(file) == beyond_4g, "_ftelli64 reports 5 GiB");
  check(kx::platform::SeekFile(file, 2, SEEK_SET) == 0, "_fseeki64 back to 2");
  check(std::fwrite("ab", 1, 2, file) == 2, "overwrite in place");
  check(kx::platform::SeekFile(file, 0, SEEK_END) == 0 && kx::platform::TellFile(file) == 10,
        "end of file still at 10");
  check(kx::platform::SeekFile(file, -1, SEEK_SET) != 0, "a negative position fails");
  std::fclose(file);

  check(GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES,
        "the file exists under its wide name");
  file = kx::platform::OpenFile(name16.c_str(), u"rb");
  char text[16] = {};
  const size_t n = file ? std::fread(text, 1, sizeof text, file) : 0;
  if (file) std::fclose(file);
  check(n == 10 && std::string(text, n) == "01ab456789", "read back what was written");

  kx::FileEx ex;
  check(ex.Open(name16.c_str(), "wb"), "FileEx opens the non-ASCII name");
  check(ex.Write("xyz", 3) == 3 && ex.GetLength() == 3 && ex.Tell() == 3,
        "FileEx write, length and position");
  ex.Close();
  check(ex.Open(Wide(dir + L"\\no such folder\\x.mkv").c_str(), "wb") == false,
        "FileEx fails in a missing folder");
  DeleteFileW(name.c_str());
}

void CheckClocks(Checks& check) {
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  const int64_t ticks = (static_cast<int64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
  const int64_t unix_now = ticks / 10000000 - 11644473600LL;
  const int64_t module_now = kx::platform::CurrentUnixTime();
  check(module_now >= unix_now - 2 && module_now <= unix_now + 2, "_time64 is the Unix time");

  const int64_t before = kx::platform::ClockMilliseconds();
  kx::platform::SleepMilliseconds(120);
  const int64_t slept = kx::platform::ClockMilliseconds() - before;
  // clock() counts elapsed time on Windows, so a sleep shows in it.
  check(slept >= 100 && slept < 5000,
        "Sleep(120) advances clock() by about 120 ms (" + std::to_string(slept) + ")");

  kx::platform::SystemTimes first;
  kx::platform::SystemTimes second;
  const bool read_first = kx::platform::ReadSystemTimes(&first);
  kx::platform::SleepMilliseconds(50);
  const bool read_second = kx::platform::ReadSystemTimes(&second);
  check(read_first && read_second, "GetSystemTimes succeeds");
  check(first.kernel >= first.idle && first.kernel + first.user > 0,
        "kernel time includes idle time");
  check(second.idle >= first.idle && second.kernel >= first.kernel && second.user >= first.user,
        "system times do not go back");
}

void CheckDebugOutput(Checks& check) {
  // The default channel is OutputDebugStringW; without a debugger it is a
  // no-op, which is what must not fail.
  kx::platform::DebugOutput(u" CPU size[2] -- CPU usage[0]\u3000\n");
  std::u16string captured;
  kx::platform::SetDebugOutputSink([&captured](std::u16string_view text) { captured = text; });
  kx::platform::DebugOutput(u"line");
  kx::platform::SetDebugOutputSink({});
  check(captured == u"line", "debug output can be captured");
}

void CheckRand(Checks& check) {
  // The module's generator must be the runtime's own, as a never-seeded
  // rand() in this process would run.
  kx::platform::ResetCrtRand();
  std::srand(1);
  bool same = true;
  for (int i = 0; i < 1000 && same; ++i) same = kx::platform::CrtRand() == std::rand();
  check(same, "CrtRand follows the runtime's rand sequence");
  kx::platform::ResetCrtRand();
  check(kx::platform::CrtRand() == 41, "first value after load is 41");
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: platform_check.exe WORK_DIR\n");
    return 2;
  }
  const std::wstring dir = argv[1];
  CreateDirectoryW(dir.c_str(), nullptr);
  Checks check;
  CheckUtf16(check);
  CheckFiles(check, dir);
  CheckClocks(check);
  CheckDebugOutput(check);
  CheckRand(check);
  std::printf("%d passed, %d failed\n", check.passed(), check.failed());
  return check.failed() == 0 ? 0 : 1;
}
