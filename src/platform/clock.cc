#include "src/platform/clock.h"

#include <ctime>

#if defined(_WIN32)
#include <windows.h>
#else
#include <chrono>
#include <thread>
#endif

namespace kx::platform {
namespace {

// Pinned by tests only; the module itself never sets it.
std::optional<int64_t>& PinnedTime() {
  static std::optional<int64_t> pinned;
  return pinned;
}

}  // namespace

int64_t CurrentUnixTime() {
  if (PinnedTime()) {
    return *PinnedTime();
  }
#if defined(_WIN32)
  return _time64(nullptr);
#else
  return static_cast<int64_t>(std::time(nullptr));
#endif
}

void PinCurrentUnixTime(std::optional<int64_t> seconds) { PinnedTime() = seconds; }

int64_t ClockMilliseconds() {
#if defined(_WIN32)
  return static_cast<int64_t>(clock()) * 1000 / CLOCKS_PER_SEC;
#else
  // clock() counts processor time on POSIX; the pacing wants elapsed time.
  using namespace std::chrono;
  static const steady_clock::time_point origin = steady_clock::now();
  return duration_cast<milliseconds>(steady_clock::now() - origin).count();
#endif
}

void SleepMilliseconds(uint32_t milliseconds) {
#if defined(_WIN32)
  Sleep(milliseconds);
#else
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
#endif
}

}  // namespace kx::platform
