#include "src/platform/file.h"

#include <string>

#include "src/platform/utf16.h"

#if !defined(_WIN32)
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <vector>
#endif

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

size_t WritePieces(std::FILE* file, const WritePiece* pieces, size_t count) {
  size_t written = 0;
  for (size_t i = 0; i < count; ++i) {
    const size_t done = std::fwrite(pieces[i].data, 1, pieces[i].size, file);
    written += done;
    if (done != pieces[i].size) {
      break;
    }
  }
  return written;
}

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

size_t WritePieces(std::FILE* file, const WritePiece* pieces, size_t count) {
  std::vector<iovec> vectors(count);
  for (size_t i = 0; i < count; ++i) {
    vectors[i] = {const_cast<void*>(pieces[i].data), pieces[i].size};
  }
  const int fd = fileno(file);
  size_t written = 0;
  iovec* next = vectors.data();
  iovec* const end = next + count;
  while (next != end) {
    const int batch = static_cast<int>(std::min<ptrdiff_t>(end - next, IOV_MAX));
    const ssize_t done = writev(fd, next, batch);
    if (done < 0 && errno == EINTR) {
      continue;
    }
    if (done <= 0) {
      break;
    }
    written += static_cast<size_t>(done);
    // Step over what was written; a piece written in part is shortened.
    for (auto rest = static_cast<size_t>(done); rest != 0;) {
      const size_t step = std::min(rest, next->iov_len);
      next->iov_base = static_cast<uint8_t*>(next->iov_base) + step;
      next->iov_len -= step;
      rest -= step;
      if (next->iov_len == 0) {
        ++next;
      }
    }
    while (next != end && next->iov_len == 0) {
      ++next;
    }
  }
  return written;
}

#endif

}  // namespace kx::platform
