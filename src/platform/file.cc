#include "src/platform/file.h"

#include <string>

#include "src/platform/utf16.h"

#if !defined(_WIN32)
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
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
  // Batches of pieces on the stack: nothing is allocated on the way out.
  constexpr size_t kBatch = 64;
  std::array<iovec, kBatch> vectors;
  const int fd = fileno(file);
  size_t written = 0;
  size_t next = 0;  // first piece not yet in a batch
  size_t first = 0;
  size_t used = 0;  // vectors[first, used) are still to be written
  while (next != count || first != used) {
    if (first == used) {
      first = 0;
      used = 0;
      for (; next != count && used != kBatch; ++next) {
        if (pieces[next].size != 0) {
          vectors[used++] = {const_cast<void*>(pieces[next].data), pieces[next].size};
        }
      }
      if (used == 0) {
        break;  // only empty pieces were left
      }
    }
    const ssize_t done = writev(fd, vectors.data() + first, static_cast<int>(used - first));
    if (done < 0 && errno == EINTR) {
      continue;
    }
    if (done <= 0) {
      break;
    }
    written += static_cast<size_t>(done);
    // Step over the pieces written whole; one written in part is shortened.
    auto rest = static_cast<size_t>(done);
    while (rest != 0 && rest >= vectors[first].iov_len) {
      rest -= vectors[first++].iov_len;
    }
    if (rest != 0) {
      vectors[first].iov_base = static_cast<uint8_t*>(vectors[first].iov_base) + rest;
      vectors[first].iov_len -= rest;
    }
  }
  return written;
}

#endif

}  // namespace kx::platform
