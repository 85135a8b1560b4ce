#include "src/mkv/processor_pacing.h"

#include "src/codec/fourcc.h"
#include "src/platform/clock.h"
#include "src/platform/debug_output.h"
#include "src/platform/system_times.h"
#include "src/platform/utf16.h"

namespace kx {
namespace {

constexpr uint32_t kMarker = FourCC("MDSR");
constexpr int32_t kBusyPercent = 80;

}  // namespace

ProcessorPacing::ProcessorPacing(int32_t processor_count) : processor_count_(processor_count) {}

void ProcessorPacing::Configure(const MediaFileParams& params) {
  enabled_ = false;
  light_ = false;
  if (params.video.marker == kMarker) {
    enabled_ = params.video.pacing != 0;
    light_ = params.video.lightPacingOrAdditionsMode != 0;
  } else if (params.audio.marker == kMarker) {
    enabled_ = params.audio.pacing != 0;
  }
}

void ProcessorPacing::Step() {
  if (!enabled_) {
    return;
  }
  ++counter_;
  if (processor_count_ > 2) {
    return;  // three or more processors are never paced
  }
  const uint32_t threshold = light_ ? 10 : 5;
  // Two increments per call: a measurement every 4th (or 6th) sample.
  const uint32_t count = counter_++;
  if (count <= threshold) {
    return;
  }
  const int32_t usage = GetCpuUsage();
  counter_ = 0;
  platform::DebugOutput(UsageLine(processor_count_, usage));
  if (usage <= kBusyPercent) {
    return;
  }
  const int64_t pause = static_cast<int64_t>(usage - kBusyPercent) * 10;
  const int64_t t0 = platform::ClockMilliseconds();
  if (light_) {
    platform::SleepMilliseconds(30);
    return;
  }
  for (int64_t d = 2; platform::ClockMilliseconds() - t0 < pause; ++d) {
    platform::SleepMilliseconds(static_cast<uint32_t>(pause / d));
  }
}

int32_t ProcessorPacing::GetCpuUsage() {
  platform::SystemTimes times;
  if (!platform::ReadSystemTimes(&times)) {
    return -1;
  }
  const auto idle = static_cast<double>(times.idle);
  const auto kernel = static_cast<double>(times.kernel);
  const auto user = static_cast<double>(times.user);
  const double d_idle = idle - previous_idle_;
  const double d_kernel = kernel - previous_kernel_;
  const double d_user = user - previous_user_;
  previous_idle_ = idle;
  previous_kernel_ = kernel;
  previous_user_ = user;
  const double busy = d_kernel + d_user;
  if (busy <= 0) {
    return 0;  // no time has passed: nothing was busy
  }
  return static_cast<int32_t>(100.0 - d_idle / busy * 100.0);
}

std::u16string ProcessorPacing::UsageLine(int32_t processor_count, int32_t usage) {
  return u" ____________________\u3000CPU size[" +
         platform::Utf8ToUtf16(std::to_string(processor_count)) + u"] -- CPU usage[" +
         platform::Utf8ToUtf16(std::to_string(usage)) + u"]\u3000 __________________________\n";
}

}  // namespace kx
