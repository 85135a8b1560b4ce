// Host times are signed counts of 100 ns; file times are milliseconds
// (TimecodeScale 1 000 000). The helpers saturate instead of overflowing so
// that absurd host times cannot invoke undefined behaviour.
#ifndef KX_MKV_TIME_UNITS_H_
#define KX_MKV_TIME_UNITS_H_

#include <cstdint>
#include <limits>

namespace kx {

inline constexpr int64_t kTicksPerMillisecond = 10000;

inline int64_t SaturatingAdd(int64_t a, int64_t b) {
  int64_t sum = 0;
  if (__builtin_add_overflow(a, b, &sum)) {
    return b > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
  }
  return sum;
}

inline int64_t SaturatingSub(int64_t a, int64_t b) {
  int64_t difference = 0;
  if (__builtin_sub_overflow(a, b, &difference)) {
    return b < 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
  }
  return difference;
}

// An offset in 100-ns units as milliseconds, rounded half away from zero:
// (d + 5000) / 10000 for d >= 0, (d - 5000) / 10000 below, for every d.
inline int64_t RoundedOffsetMilliseconds(int64_t d) {
  const int64_t remainder = d % kTicksPerMillisecond;
  const int64_t half = kTicksPerMillisecond / 2;
  return d / kTicksPerMillisecond + (remainder >= half ? 1 : remainder <= -half ? -1 : 0);
}

// (t + 5000) / 10000, truncating toward zero: 14 999 -> 1, 15 000 -> 2, -15 000 -> -1.
inline int64_t ToMilliseconds(int64_t ticks) {
  return SaturatingAdd(ticks, kTicksPerMillisecond / 2) / kTicksPerMillisecond;
}

inline int64_t ToTicks(int64_t milliseconds) {
  int64_t ticks = 0;
  if (__builtin_mul_overflow(milliseconds, kTicksPerMillisecond, &ticks)) {
    return milliseconds > 0 ? std::numeric_limits<int64_t>::max()
                            : std::numeric_limits<int64_t>::min();
  }
  return ticks;
}

// The end of a frame: its start plus its duration, at least one tick.
inline int64_t FrameEnd(int64_t start, int64_t duration) {
  return SaturatingAdd(start, duration < 1 ? 1 : duration);
}

}  // namespace kx

#endif  // KX_MKV_TIME_UNITS_H_
