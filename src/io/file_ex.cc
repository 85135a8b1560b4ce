#include "src/io/file_ex.h"

#include <array>
#include <cstring>
#include <string>

#include "src/platform/file.h"
#include "src/platform/utf16.h"

namespace kx {
namespace {

// Pieces below this size are gathered; larger ones are written at once,
// since copying them would cost more than the extra write call.
constexpr size_t kBufferSize = size_t{128} << 10;
constexpr uint32_t kDirectWrite = 16 << 10;

// True when the text from the last '.' on starts with ".iso:" in any case.
bool IsVirtualTarget(const char16_t* name) {
  constexpr std::u16string_view kIso = u".iso:";
  const std::u16string_view text(name);
  const size_t dot = text.rfind(u'.');
  if (dot == std::u16string_view::npos || text.size() - dot < kIso.size()) {
    return false;
  }
  for (size_t i = 0; i < kIso.size(); ++i) {
    char16_t c = text[dot + i];
    if (c >= u'A' && c <= u'Z') {
      c = static_cast<char16_t>(c - u'A' + u'a');
    }
    if (c != kIso[i]) {
      return false;
    }
  }
  return true;
}

}  // namespace

FileEx::~FileEx() { Close(); }

bool FileEx::Open(const char16_t* name, const char* mode) {
  Close();
  if (name == nullptr) {
    return false;
  }
  if (IsVirtualTarget(name)) {
    virtual_target_ = true;
    return true;
  }
  virtual_target_ = false;
  if (mode == nullptr) {
    return false;
  }
  // The mode is plain ASCII ("wb"), so widening byte by byte is the ANSI
  // code-page conversion.
  const std::u16string wide_mode(mode, mode + std::char_traits<char>::length(mode));
  file_ = platform::OpenFile(name, wide_mode.c_str());
  if (file_ == nullptr) {
    return false;
  }
  std::setvbuf(file_, nullptr, _IONBF, 0);
  buffer_.resize(kBufferSize);
  position_ = platform::TellFile(file_);
  return true;
}

void FileEx::Close() {
  if (file_ == nullptr) {
    return;
  }
  Drain();
  std::fclose(file_);
  file_ = nullptr;
}

void FileEx::Flush() {
  if (file_ != nullptr) {
    Drain();
    std::fflush(file_);
  }
}

void FileEx::Drain() {
  size_t written = 0;
  size_t total = buffered_ - held_from_;
  if (held_.empty()) {
    written = total == 0 ? 0 : std::fwrite(buffer_.data(), 1, total, file_);
  } else {
    // Room for this piece was reserved with the held ones: nothing here
    // allocates, so that a hold can end while an exception unwinds.
    if (total != 0) {
      held_.push_back({buffer_.data() + held_from_, total});
    }
    total = 0;
    for (const platform::WritePiece& piece : held_) {
      total += piece.size;
    }
    written = platform::WritePieces(file_, held_.data(), held_.size());
    held_.clear();
  }
  if (written != total) {
    position_ = platform::TellFile(file_);  // the file ends short of the count
  }
  held_from_ = 0;
  buffered_ = 0;
}

void FileEx::ReleaseWrites() {
  holding_ = false;
  if (!held_.empty()) {
    Drain();
  }
}

uint32_t FileEx::Write(const void* buffer, uint32_t size) {
  if (file_ == nullptr) {
    return 0;
  }
  if (size >= kDirectWrite && holding_) {
    // Room for this piece, the bytes before it and the last ones, grown by
    // doubling so that a Cluster of many frames does not reallocate each time.
    if (held_.capacity() - held_.size() < 3) {
      held_.reserve(2 * held_.size() + 3);
    }
    if (held_from_ != buffered_) {
      held_.push_back({buffer_.data() + held_from_, buffered_ - held_from_});
      held_from_ = buffered_;
    }
    held_.push_back({buffer, size});
    position_ += size;
    return size;
  }
  if (size >= kDirectWrite) {
    Drain();
    const auto written = static_cast<uint32_t>(std::fwrite(buffer, 1, size, file_));
    position_ += written;
    return written;
  }
  if (buffered_ + size > kBufferSize) {
    Drain();
  }
  std::memcpy(buffer_.data() + buffered_, buffer, size);
  buffered_ += size;
  position_ += size;
  return size;
}

uint32_t FileEx::Read(void* buffer, uint32_t size) {
  if (file_ == nullptr) {
    return 0;
  }
  Drain();
  const auto count = static_cast<uint32_t>(std::fread(buffer, 1, size, file_));
  position_ = platform::TellFile(file_);
  return count;
}

int64_t FileEx::GetLength() {
  if (virtual_target_) {
    return 1;
  }
  if (file_ == nullptr) {
    return 0;
  }
  Drain();
  const int64_t position = platform::TellFile(file_);
  platform::SeekFile(file_, 0, SEEK_END);
  const int64_t length = platform::TellFile(file_);
  platform::SeekFile(file_, position, SEEK_SET);
  return length;
}

int32_t FileEx::SeekTo(int64_t offset, uint32_t origin) {
  if (virtual_target_) {
    return 0;
  }
  if (file_ == nullptr) {
    return -1;
  }
  constexpr std::array<int, 3> kOrigins = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin >= kOrigins.size()) {
    return -1;
  }
  Drain();
  const int32_t status = platform::SeekFile(file_, offset, kOrigins[origin]);
  position_ = platform::TellFile(file_);
  return status;
}

int64_t FileEx::Tell() {
  if (virtual_target_ || file_ == nullptr) {
    return 0;
  }
  return position_;
}

}  // namespace kx
