#include "src/platform/file.h"

#include <string>

#include "src/platform/utf16.h"

namespace kx::platform {

#if defined(_WIN32)

std::FILE* OpenFile(const char16_t* name, const char16_t* mode) {
  static_assert(sizeof(wchar_t) == sizeof(char16_t), "Windows wide characters are UTF-16 units");
  return _wfopen(reinterpret_cast<const wchar_t*>(name), reinterpret_cast<const wchar_t*>(mode));
}

int SeekFile(std::FILE* file, int64_t offset, int origin) {
  return _fseeki64(file, offset, origin) == 0 ? 0 : -1;
}

int64_t TellFile(std::FILE* file) { return _ftelli64(file); }

#else

std::FILE* OpenFile(const char16_t* name, const char16_t* mode) {
  const std::string narrow_name = Utf16ToUtf8(name);
  const std::string narrow_mode = Utf16ToUtf8(mode);
  return std::fopen(narrow_name.c_str(), narrow_mode.c_str());
}

int SeekFile(std::FILE* file, int64_t offset, int origin) {
  return fseeko(file, static_cast<off_t>(offset), origin) == 0 ? 0 : -1;
}

int64_t TellFile(std::FILE* file) { return static_cast<int64_t>(ftello(file)); }

#endif

}  // namespace kx::platform
