// Processor-load pacing with the system times, the clock and sleeping
// replaced: which samples measure, what the debugger line says, how long the
// caller is held.
#include "src/mkv/processor_pacing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "src/codec/fourcc.h"
#include "src/platform/clock.h"
#include "src/platform/debug_output.h"
#include "src/platform/system_times.h"

namespace kx {
namespace {

struct PacingCase {
  const char* name;
  int32_t processors;
  bool video_marker, audio_marker, light;
  int usage;                        // what the system times show; -1: unreadable
  std::vector<int> measured_after;  // samples
  std::vector<uint32_t> sleeps;     // per measurement
};

class ProcessorPacingTest : public ::testing::TestWithParam<PacingCase> {
 protected:
  void TearDown() override {
    platform::SetDebugOutputSink({});
    platform::SetSystemTimesForTests({});
    platform::SetClockForTests({}, {});
  }
};

TEST_P(ProcessorPacingTest, MeasuresReportsAndSleeps) {
  const PacingCase& c = GetParam();
  std::vector<std::u16string> lines;
  std::vector<uint32_t> sleeps;
  int64_t now = 1000;
  platform::SystemTimes times;
  platform::SetDebugOutputSink([&](std::u16string_view line) { lines.emplace_back(line); });
  platform::SetClockForTests([&] { return now; },
                             [&](uint32_t ms) { sleeps.push_back(ms), now += ms; });
  platform::SetSystemTimesForTests([&](platform::SystemTimes* out) {
    times.kernel += 1000;  // kernel time includes idle time
    times.idle += static_cast<uint64_t>(1000 - 10 * c.usage);
    *out = times;
    return c.usage >= 0;
  });
  MediaFileParams params{};
  params.video.marker = c.video_marker ? FourCC("MDSR") : 0;
  params.audio.marker = c.audio_marker ? FourCC("MDSR") : 0;
  params.video.pacing = params.audio.pacing = 1;
  params.video.lightPacingOrAdditionsMode = c.light ? 1 : 0;
  ProcessorPacing pacing(c.processors);
  pacing.Configure(params);
  const std::u16string usage = c.usage < 0 ? u"-1" : c.usage == 100 ? u"100" : u"50";
  const std::u16string line = u" ____________________\u3000CPU size[" +
                              std::u16string(1, u'0' + c.processors) + u"] -- CPU usage[" + usage +
                              u"]\u3000 __________________________\n";
  std::vector<int> measured;
  for (int i = 1; i <= 12; ++i) {
    pacing.Step();
    if (lines.size() > measured.size()) measured.push_back(i);
  }
  EXPECT_EQ(measured, c.measured_after);
  EXPECT_EQ(lines, std::vector<std::u16string>(measured.size(), line));
  std::vector<uint32_t> expected_sleeps;  // the same pause after each measurement
  for (size_t i = 0; i < measured.size(); ++i)
    expected_sleeps.insert(expected_sleeps.end(), c.sleeps.begin(), c.sleeps.end());
  EXPECT_EQ(sleeps, expected_sleeps);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Cases, ProcessorPacingTest, ::testing::Values(
    PacingCase{"TwoProcessorsEveryFourthSample", 2, true, false, false, 50, {4, 8, 12}, {}},
    PacingCase{"LightEverySixthSample", 1, true, false, true, 50, {6, 12}, {}},
    PacingCase{"FourProcessorsNever", 4, true, false, false, 100, {}, {}},
    PacingCase{"NoMarkerNoPacing", 1, false, false, false, 100, {}, {}},
    PacingCase{"AudioMarkerCounts", 2, false, true, false, 50, {4, 8, 12}, {}},
    PacingCase{"FullLoadSleepsUntil200Ms", 2, true, false, false, 100, {4, 8, 12}, {100, 66, 50}},
    PacingCase{"LightFullLoadSleeps30Ms", 1, true, false, true, 100, {6, 12}, {30}},
    PacingCase{"UnreadableTimesReportMinusOne", 2, true, false, false, -1, {4, 8, 12}, {}}),
    [](const auto& info) { return std::string(info.param.name); });
// clang-format on

}  // namespace
}  // namespace kx
