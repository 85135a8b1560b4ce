// The Linux side of the cross-platform comparison: loads libkx_mkv.so with
// dlopen, as a host would, and runs the shared scenarios. Its files are the
// reference the Windows module's files must equal.
//
// Usage: linux_host MODULE OUT_DIR REPORT LOG
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "include/kx_mkv/kx_mkv.h"
#include "src/platform/utf16.h"
#include "tests/windows/scenarios.h"

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "usage: %s MODULE OUT_DIR REPORT LOG\n", argv[0]);
    return 2;
  }
  // Only the scenarios' lines go to the log that is compared with the Windows
  // host's; that host checks the exports' own lines separately.
  unsetenv("YR_LOG_FILE");
  std::remove(argv[4]);

  void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (module == nullptr) {
    std::fprintf(stderr, "dlopen %s: %s\n", argv[1], dlerror());
    return 1;
  }
  using GetSingle = const FileFormat* (*)();
  using GetMulti = const FileMultiStreamFormat* (*)();
  auto get_single = reinterpret_cast<GetSingle>(dlsym(module, "GetFileFormats"));
  auto get_multi = reinterpret_cast<GetMulti>(dlsym(module, "GetFileMultiStreamFormats"));
  if (get_single == nullptr || get_multi == nullptr) {
    std::fprintf(stderr, "the module lacks an export\n");
    return 1;
  }

  std::error_code error;
  const std::filesystem::path out = std::filesystem::absolute(argv[2]);
  std::filesystem::remove_all(out, error);
  std::filesystem::create_directories(out);
  const std::u16string dir = kx::platform::Utf8ToUtf16(out.string() + "/");

  std::FILE* report = std::fopen(argv[3], "wb");
  if (report == nullptr) {
    std::perror(argv[3]);
    return 1;
  }
  const FileFormat* single = get_single();
  const FileMultiStreamFormat* multi = get_multi();
  setenv("YR_LOG_FILE", argv[4], 1);
  const int failures = KxRunScenarios(single, multi, dir.c_str(), report);
  std::fclose(report);
  dlclose(module);
  std::printf("%d scenario failures\n", failures);
  return failures == 0 ? 0 : 1;
}
