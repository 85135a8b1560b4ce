#include "tools/kxmux/progress.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kxmux {

std::string ProgressLine(double position, double total, int width) {
  const double fraction = total > 0 ? std::clamp(position / total, 0.0, 1.0) : 0.0;
  const int filled = static_cast<int>(fraction * width);
  std::string line = "[";
  line.append(static_cast<size_t>(filled), '=');
  if (filled < width) {
    line.push_back('>');
    line.append(static_cast<size_t>(width - filled - 1), ' ');
  }
  std::array<char, 64> numbers = {};
  std::snprintf(numbers.data(), numbers.size(), "] %3d%%  %.1f / %.1f s",
                static_cast<int>(fraction * 100.0), std::clamp(position, 0.0, total), total);
  return line + numbers.data();
}

ProgressBar::ProgressBar(bool enabled, double total_seconds)
    : active_(enabled && total_seconds > kMinimumSeconds), total_(total_seconds) {}

ProgressBar::~ProgressBar() { Finish(); }

void ProgressBar::Update(double position_seconds) {
  if (!active_) {
    return;
  }
  const auto now = std::chrono::steady_clock::now();
  if (drawn_ && now - last_draw_ < std::chrono::milliseconds(100)) {
    return;
  }
  last_draw_ = now;
  drawn_ = true;
  std::fprintf(stderr, "\r%s", ProgressLine(position_seconds, total_, 40).c_str());
  std::fflush(stderr);
}

void ProgressBar::Finish() {
  if (!active_) {
    return;
  }
  if (drawn_) {
    // Erase the line: carriage return, then "clear to end of line".
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
  }
  active_ = false;
}

}  // namespace kxmux
