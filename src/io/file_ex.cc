#include "src/io/file_ex.h"

#include <string>

#include "src/platform/file.h"
#include "src/platform/utf16.h"

namespace kx {
namespace {

// True when the text from the last '.' on starts with ".iso:" in any case.
bool IsVirtualTarget(const char16_t* name) {
  const std::u16string_view text(name);
  const size_t dot = text.rfind(u'.');
  if (dot == std::u16string_view::npos || text.size() - dot < 5) {
    return false;
  }
  static constexpr char16_t kIso[] = u".iso:";
  for (size_t i = 0; i < 5; ++i) {
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
  return file_ != nullptr;
}

void FileEx::Close() {
  if (file_ == nullptr) {
    return;
  }
  std::fclose(file_);
  file_ = nullptr;
}

void FileEx::Flush() {
  if (file_ != nullptr) {
    std::fflush(file_);
  }
}

uint32_t FileEx::Write(const void* buffer, uint32_t size) {
  if (file_ == nullptr) {
    return 0;
  }
  return static_cast<uint32_t>(std::fwrite(buffer, 1, size, file_));
}

uint32_t FileEx::Read(void* buffer, uint32_t size) {
  if (file_ == nullptr) {
    return 0;
  }
  return static_cast<uint32_t>(std::fread(buffer, 1, size, file_));
}

int64_t FileEx::GetLength() {
  if (virtual_target_) {
    return 1;
  }
  if (file_ == nullptr) {
    return 0;
  }
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
  static constexpr int kOrigins[] = {SEEK_SET, SEEK_CUR, SEEK_END};
  if (origin > 2) {
    return -1;
  }
  return platform::SeekFile(file_, offset, kOrigins[origin]);
}

int64_t FileEx::Tell() {
  if (virtual_target_ || file_ == nullptr) {
    return 0;
  }
  return platform::TellFile(file_);
}

}  // namespace kx
