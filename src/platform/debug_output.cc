#include "src/platform/debug_output.h"

#include <string>
#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <cstdio>

#include "src/platform/utf16.h"
#endif

namespace kx::platform {
namespace {

std::function<void(std::u16string_view)>& Sink() {
  static std::function<void(std::u16string_view)> sink;
  return sink;
}

}  // namespace

void DebugOutput(std::u16string_view text) {
  if (Sink()) {
    Sink()(text);
    return;
  }
#if defined(_WIN32)
  const std::u16string terminated(text);
  OutputDebugStringW(reinterpret_cast<const wchar_t*>(terminated.c_str()));
#else
  const std::string narrow = Utf16ToUtf8(text);
  std::fwrite(narrow.data(), 1, narrow.size(), stderr);
#endif
}

void SetDebugOutputSink(std::function<void(std::u16string_view)> sink) { Sink() = std::move(sink); }

}  // namespace kx::platform
