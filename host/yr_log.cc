// Stand-in for the host's YR_Log library: each call appends one UTF-8 line to
// the file named by the environment variable YR_LOG_FILE (dropped without it).
#include "host/yr_log.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "src/platform/utf16.h"

namespace {

void AppendRecord(std::string text) {
  const char* path = std::getenv("YR_LOG_FILE");
  if (path == nullptr || *path == '\0') {
    return;
  }
  if (text.empty() || text.back() != '\n') {
    text.push_back('\n');
  }
  std::FILE* file = std::fopen(path, "ab");
  if (file == nullptr) {
    return;
  }
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
}

// Formats one numeric conversion with the C library, re-using the flags,
// width and precision the caller gave.
template <typename T>
void AppendNumber(std::string& out, const std::string& spec, T value) {
  char buffer[512];
  const int n = std::snprintf(buffer, sizeof buffer, spec.c_str(), value);
  if (n > 0) {
    out.append(buffer, static_cast<size_t>(n) < sizeof buffer ? n : sizeof buffer - 1);
  }
}

std::string Format(const char16_t* format, va_list args) {
  std::string out;
  const std::u16string_view fmt(format);
  for (size_t i = 0; i < fmt.size(); ++i) {
    if (fmt[i] != u'%') {
      size_t end = fmt.find(u'%', i);
      if (end == std::u16string_view::npos) {
        end = fmt.size();
      }
      out += kx::platform::Utf16ToUtf8(fmt.substr(i, end - i));
      i = end - 1;
      continue;
    }
    // %[flags][width][.precision][length]conversion
    std::string spec = "%";
    size_t j = i + 1;
    while (j < fmt.size() &&
           std::u16string_view(u"-+ #0").find(fmt[j]) != std::u16string_view::npos) {
      spec.push_back(static_cast<char>(fmt[j++]));
    }
    while (j < fmt.size() && ((fmt[j] >= u'0' && fmt[j] <= u'9') || fmt[j] == u'.')) {
      spec.push_back(static_cast<char>(fmt[j++]));
    }
    bool long_long = false;
    while (j < fmt.size() && (fmt[j] == u'l' || fmt[j] == u'h' || fmt[j] == u'I')) {
      if (fmt[j] == u'l' && j + 1 < fmt.size() && fmt[j + 1] == u'l') {
        long_long = true;
      }
      ++j;
    }
    if (j >= fmt.size()) {
      break;
    }
    const char16_t conversion = fmt[j];
    switch (conversion) {
      case u's':
      case u'S': {
        const auto* text = va_arg(args, const char16_t*);
        out += text == nullptr ? std::string("(null)") : kx::platform::Utf16ToUtf8(text);
        break;
      }
      case u'c': {
        const char16_t unit[2] = {static_cast<char16_t>(va_arg(args, int)), 0};
        out += kx::platform::Utf16ToUtf8(unit);
        break;
      }
      case u'd':
      case u'i':
        if (long_long) {
          AppendNumber(out, spec + "lld", va_arg(args, long long));
        } else {
          AppendNumber(out, spec + "d", va_arg(args, int));
        }
        break;
      case u'u':
      case u'x':
      case u'X':
        if (long_long) {
          AppendNumber(out, spec + "ll" + static_cast<char>(conversion),
                       va_arg(args, unsigned long long));
        } else {
          AppendNumber(out, spec + static_cast<char>(conversion), va_arg(args, unsigned));
        }
        break;
      case u'f':
      case u'F':
      case u'e':
      case u'g':
        AppendNumber(out, spec + static_cast<char>(conversion), va_arg(args, double));
        break;
      case u'p':
        AppendNumber(out, std::string("%p"), va_arg(args, void*));
        break;
      case u'%':
        out.push_back('%');
        break;
      default:  // unknown conversion: keep it as written
        out += kx::platform::Utf16ToUtf8(fmt.substr(i, j - i + 1));
        break;
    }
    i = j;
  }
  return out;
}

}  // namespace

extern "C" void HostLogText(const char16_t* text) {
  if (text != nullptr) {
    AppendRecord(kx::platform::Utf16ToUtf8(text));
  }
}

extern "C" void HostLogFormat(const char16_t* format, ...) {
  if (format == nullptr) {
    return;
  }
  va_list args;
  va_start(args, format);
  std::string text = Format(format, args);
  va_end(args);
  AppendRecord(std::move(text));
}
