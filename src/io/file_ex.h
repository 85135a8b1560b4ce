// A thin object around a C runtime file opened by a UTF-16 name, with 64-bit
// positions. Elements hand over their bytes in many small pieces (IDs, size
// fields, block headers) and a few large ones (frames): the small pieces are
// gathered in a buffer of the object's own and reach the file in large
// writes, the large ones go straight to the file. The runtime stream is
// unbuffered, so no byte is copied twice on its way, and the position is
// known without asking the runtime.
#ifndef KX_IO_FILE_EX_H_
#define KX_IO_FILE_EX_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "src/platform/file.h"

namespace kx {

class FileEx {
 public:
  FileEx() = default;
  FileEx(const FileEx&) = delete;
  FileEx& operator=(const FileEx&) = delete;
  virtual ~FileEx();

  // Closes what is open, then opens `name`. A name whose last extension begins
  // with ".iso:" (any case) designates a virtual target: nothing is opened,
  // writes go nowhere and the call succeeds. A null mode fails.
  virtual bool Open(const char16_t* name, const char* mode);
  virtual void Close();
  // Writes what is buffered and flushes the runtime stream.
  virtual void Flush();
  // Bytes written or read; 0 without an open file. A write that is
  // buffered counts as written.
  virtual uint32_t Write(const void* buffer, uint32_t size);
  virtual uint32_t Read(void* buffer, uint32_t size);
  // Virtual target: 1; no file: 0.
  virtual int64_t GetLength();
  // 0 on success, non-zero on failure; a virtual target always succeeds.
  virtual int32_t SeekTo(int64_t offset, uint32_t origin);
  // Virtual target: 0.
  virtual int64_t Tell();

  // While the returned object lives, a large piece is not written at once:
  // it is remembered and reaches the file together with the buffered bytes
  // around it in one gathered write when the hold ends (or the buffer
  // fills), so that a Cluster's frames cost one system call instead of one
  // each. The caller keeps the pieces alive until the hold ends, which it
  // does also when an exception leaves the caller's scope.
  class HeldWrites {
   public:
    explicit HeldWrites(FileEx& file) : file_(file) { file_.holding_ = true; }
    HeldWrites(const HeldWrites&) = delete;
    HeldWrites& operator=(const HeldWrites&) = delete;
    ~HeldWrites() { file_.ReleaseWrites(); }

   private:
    FileEx& file_;
  };
  [[nodiscard]] bool is_open() const { return file_ != nullptr; }
  [[nodiscard]] bool is_virtual_target() const { return virtual_target_; }

 private:
  // Hands what is buffered and held to the file.
  void Drain();
  void ReleaseWrites();

  std::FILE* file_ = nullptr;
  bool virtual_target_ = false;
  std::vector<uint8_t> buffer_;  // allocated by the first Open
  size_t buffered_ = 0;
  bool holding_ = false;
  // Held pieces in file order: large pieces of the caller's, and the
  // buffered bytes before them; buffer_ from `held_from_` on is not yet in.
  std::vector<platform::WritePiece> held_;
  size_t held_from_ = 0;
  // The file position, buffered bytes included.
  int64_t position_ = 0;
};

}  // namespace kx

#endif  // KX_IO_FILE_EX_H_
