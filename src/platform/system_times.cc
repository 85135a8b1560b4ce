#include "src/platform/system_times.h"

#include <utility>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>

#include <cstdio>
#endif

namespace kx::platform {
namespace {

// Set by tests only.
std::function<bool(SystemTimes*)>& TestSource() {
  static std::function<bool(SystemTimes*)> source;
  return source;
}

bool ReadRealSystemTimes(SystemTimes* times);

}  // namespace

bool ReadSystemTimes(SystemTimes* times) {
  return TestSource() ? TestSource()(times) : ReadRealSystemTimes(times);
}

void SetSystemTimesForTests(std::function<bool(SystemTimes*)> source) {
  TestSource() = std::move(source);
}

namespace {

#if defined(_WIN32)

bool ReadRealSystemTimes(SystemTimes* times) {
  FILETIME idle;
  FILETIME kernel;
  FILETIME user;
  if (!GetSystemTimes(&idle, &kernel, &user)) return false;
  auto join = [](const FILETIME& t) {
    return (static_cast<uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
  };
  times->idle = join(idle);
  times->kernel = join(kernel);
  times->user = join(user);
  return true;
}

#else

bool ReadRealSystemTimes(SystemTimes* times) {
  std::FILE* stat = std::fopen("/proc/stat", "r");
  if (stat == nullptr) {
    return false;
  }
  unsigned long long user = 0;
  unsigned long long nice = 0;
  unsigned long long system = 0;
  unsigned long long idle = 0;
  unsigned long long iowait = 0;
  unsigned long long irq = 0;
  unsigned long long softirq = 0;
  const int fields = std::fscanf(stat, "cpu %llu %llu %llu %llu %llu %llu %llu", &user, &nice,
                                 &system, &idle, &iowait, &irq, &softirq);
  std::fclose(stat);
  if (fields < 4) {
    return false;
  }
  const long ticks_per_second = sysconf(_SC_CLK_TCK);
  if (ticks_per_second <= 0) {
    return false;
  }
  const uint64_t scale = 10'000'000ULL / static_cast<uint64_t>(ticks_per_second);
  times->idle = (idle + iowait) * scale;
  times->kernel = (system + irq + softirq + idle + iowait) * scale;
  times->user = (user + nice) * scale;
  return true;
}

#endif

}  // namespace
}  // namespace kx::platform
