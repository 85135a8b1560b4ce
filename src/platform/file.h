// Files opened by a UTF-16 name, with 64-bit positions.
#ifndef KX_PLATFORM_FILE_H_
#define KX_PLATFORM_FILE_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace kx::platform {

// Opens `name` with a C runtime mode ("wb", "rb", ...). Windows: _wfopen;
// elsewhere the name is converted to UTF-8. Returns null on failure.
std::FILE* OpenFile(const char16_t* name, const char16_t* mode);

// 64-bit seek (origin SEEK_SET, SEEK_CUR or SEEK_END); 0 on success, -1 on failure.
int SeekFile(std::FILE* file, int64_t offset, int origin);

// 64-bit position, -1 on failure.
int64_t TellFile(std::FILE* file);

struct WritePiece {
  const void* data;
  size_t size;
};
// Writes the pieces in order to an unbuffered `file`, in as few system calls
// as the platform allows (POSIX: writev; Windows: one write per piece).
// Returns the number of bytes written; fewer than asked after an error.
size_t WritePieces(std::FILE* file, const WritePiece* pieces, size_t count);

}  // namespace kx::platform

#endif  // KX_PLATFORM_FILE_H_
