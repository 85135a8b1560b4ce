#include "src/platform/clock.h"

#include <ctime>
#include <utility>

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

struct ClockHooks {
  std::function<int64_t()> clock;
  std::function<void(uint32_t)> sleep;
};

// Set by tests only.
ClockHooks& Hooks() {
  static ClockHooks hooks;
  return hooks;
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
  if (Hooks().clock) {
    return Hooks().clock();
  }
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
  if (Hooks().sleep) {
    Hooks().sleep(milliseconds);
    return;
  }
#if defined(_WIN32)
  Sleep(milliseconds);
#else
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
#endif
}

void SetClockForTests(std::function<int64_t()> clock, std::function<void(uint32_t)> sleep) {
  Hooks() = {std::move(clock), std::move(sleep)};
}

}  // namespace kx::platform
