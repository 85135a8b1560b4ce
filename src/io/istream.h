// The stream every element writes itself to. Each muxer implements it by
// forwarding to the FileEx it owns.
#ifndef KX_IO_ISTREAM_H_
#define KX_IO_ISTREAM_H_

#include <cstdint>

namespace kx {

// HRESULT-style results.
inline constexpr int32_t kOk = 0;
inline constexpr int32_t kNoFileObject = static_cast<int32_t>(0x80004003);

// Seek origins.
inline constexpr uint32_t kSeekBegin = 0;
inline constexpr uint32_t kSeekCurrent = 1;
inline constexpr uint32_t kSeekEnd = 2;

class IStream {
 public:
  virtual ~IStream() = default;

  // `done` (optional) receives the number of bytes transferred.
  virtual int32_t Read(void* buffer, uint32_t size, uint32_t* done) = 0;
  virtual int32_t Write(const void* buffer, uint32_t size, uint32_t* done) = 0;
  // `result` (optional) receives the seek status (0 or -1), not the position.
  virtual int32_t SeekTo(int64_t offset, uint32_t origin, uint64_t* result) = 0;

  int32_t Write(const void* buffer, uint32_t size) { return Write(buffer, size, nullptr); }
};

}  // namespace kx

#endif  // KX_IO_ISTREAM_H_
