// Wall-clock time, the process clock and sleeping.
#ifndef KX_PLATFORM_CLOCK_H_
#define KX_PLATFORM_CLOCK_H_

#include <cstdint>
#include <functional>
#include <optional>

namespace kx::platform {

// Seconds since 1970-01-01T00:00:00 UTC (Windows: _time64).
int64_t CurrentUnixTime();

// Tests pin the time so that files come out byte-identical; nullopt unpins.
void PinCurrentUnixTime(std::optional<int64_t> seconds);

// Milliseconds of the process clock (Windows: clock()).
int64_t ClockMilliseconds();

void SleepMilliseconds(uint32_t milliseconds);

// Tests drive the pacing's timing without waiting: they replace the process
// clock and sleeping; empty functions restore the real ones.
void SetClockForTests(std::function<int64_t()> clock, std::function<void(uint32_t)> sleep);

}  // namespace kx::platform

#endif  // KX_PLATFORM_CLOCK_H_
