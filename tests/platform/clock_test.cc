// Time sources: the pinned wall clock that makes files reproducible, the
// millisecond clock and the system-wide processor times the pacing reads.
#include "src/platform/clock.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

#include "gtest/gtest.h"
#include "src/platform/debug_output.h"
#include "src/platform/system_times.h"

namespace {

using kx::platform::CurrentUnixTime;
using kx::platform::PinCurrentUnixTime;

TEST(CurrentUnixTime, CanBePinnedAndReleased) {
  // Zero and a value beyond 32 bits (2100-01-01) are times like any other.
  for (int64_t pinned : {int64_t{1700000000}, int64_t{0}, int64_t{4102444800}}) {
    PinCurrentUnixTime(pinned);
    EXPECT_EQ(CurrentUnixTime(), pinned);
    EXPECT_EQ(CurrentUnixTime(), pinned);
  }
  PinCurrentUnixTime(std::nullopt);
  const int64_t now = std::time(nullptr);
  EXPECT_LE(now - CurrentUnixTime(), 2);
  EXPECT_GE(now + 2, CurrentUnixTime());
}

TEST(ClockMilliseconds, CountsElapsedTimeIncludingSleep) {
  const int64_t before = kx::platform::ClockMilliseconds();
  kx::platform::SleepMilliseconds(60);
  const int64_t after = kx::platform::ClockMilliseconds();
  // Sleeping uses no processor time, so this fails for a processor-time clock.
  EXPECT_GE(after - before, 60);
  EXPECT_LT(after - before, 10000);
  EXPECT_GE(kx::platform::ClockMilliseconds(), after);
}

TEST(SystemTimes, AreCumulativeAndInHundredNanoseconds) {
  kx::platform::SystemTimes first;
  ASSERT_TRUE(kx::platform::ReadSystemTimes(&first));
  // As on Windows, kernel time includes idle time.
  EXPECT_GE(first.kernel, first.idle);
  EXPECT_GT(first.kernel + first.user, 0U);

  const auto start = std::chrono::steady_clock::now();
  kx::platform::SleepMilliseconds(300);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  kx::platform::SystemTimes second;
  ASSERT_TRUE(kx::platform::ReadSystemTimes(&second));
  EXPECT_GE(second.kernel, second.idle);
  EXPECT_GE(second.idle, first.idle);
  EXPECT_GE(second.kernel, first.kernel);
  EXPECT_GE(second.user, first.user);

  // All processors together cannot have run longer than the elapsed time
  // each; the slack covers the tick granularity. Counting configured rather
  // than usable processors keeps this true inside a restricted container.
  const uint64_t busy_and_idle = (second.kernel + second.user) - (first.kernel + first.user);
  const auto elapsed_units = static_cast<uint64_t>(
      std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count() / 100);
  const auto processors = static_cast<uint64_t>(std::max(1L, sysconf(_SC_NPROCESSORS_CONF)));
  EXPECT_GT(busy_and_idle, 0U);
  EXPECT_LE(busy_and_idle, processors * (elapsed_units + 200'000) * 2);
}

TEST(DebugOutput, GoesToTheCapturingSink) {
  std::u16string captured;
  kx::platform::SetDebugOutputSink([&](std::u16string_view text) { captured.append(text); });
  kx::platform::DebugOutput(u" CPU size[2] -- CPU usage[50]\u3000\n");
  kx::platform::SetDebugOutputSink(nullptr);
  EXPECT_EQ(captured, u" CPU size[2] -- CPU usage[50]\u3000\n");
}

}  // namespace
