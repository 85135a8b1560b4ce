// System-wide processor times for the processor-load pacing.
#ifndef KX_PLATFORM_SYSTEM_TIMES_H_
#define KX_PLATFORM_SYSTEM_TIMES_H_

#include <cstdint>
#include <functional>

namespace kx::platform {

// Cumulative times in 100-ns units, summed over all processors. As on Windows,
// kernel time includes idle time.
struct SystemTimes {
  uint64_t idle = 0;
  uint64_t kernel = 0;
  uint64_t user = 0;
};

// Windows: GetSystemTimes; Linux: the first line of /proc/stat.
bool ReadSystemTimes(SystemTimes* times);

// Tests pin the readings so that the pacing sees a chosen load; an empty
// function restores the system's.
void SetSystemTimesForTests(std::function<bool(SystemTimes*)> source);

}  // namespace kx::platform

#endif  // KX_PLATFORM_SYSTEM_TIMES_H_
