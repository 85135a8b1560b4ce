#include "src/mkv/processor_pacing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "src/codec/fourcc.h"
#include "src/platform/debug_output.h"

namespace kx {
namespace {

class ProcessorPacingTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform::SetDebugOutputSink([this](std::u16string_view line) { lines_.emplace_back(line); });
  }
  void TearDown() override { platform::SetDebugOutputSink({}); }

  static MediaFileParams Params(uint32_t pacing, uint32_t light) {
    MediaFileParams params{};
    params.video.marker = FourCC("MDSR");
    params.video.pacing = pacing;
    params.video.lightPacingOrAdditionsMode = light;
    return params;
  }

  // The samples after which a line was written, over `samples` calls.
  std::vector<int> MeasuredAfter(ProcessorPacing& pacing, int samples) {
    std::vector<int> after;
    for (int i = 1; i <= samples; ++i) {
      const size_t before = lines_.size();
      pacing.Step();
      if (lines_.size() != before) after.push_back(i);
    }
    return after;
  }

  std::vector<std::u16string> lines_;
};

TEST_F(ProcessorPacingTest, TwoProcessorsMeasureEveryFourthSample) {
  ProcessorPacing pacing(2);
  pacing.Configure(Params(1, 0));
  EXPECT_EQ(MeasuredAfter(pacing, 12), (std::vector<int>{4, 8, 12}));
}

TEST_F(ProcessorPacingTest, LightPacingMeasuresEverySixthSample) {
  ProcessorPacing pacing(1);
  pacing.Configure(Params(1, 1));
  EXPECT_EQ(MeasuredAfter(pacing, 12), (std::vector<int>{6, 12}));
}

TEST_F(ProcessorPacingTest, NoPacingWithoutTheMarkerOrWithManyProcessors) {
  ProcessorPacing four(4);
  four.Configure(Params(1, 0));
  EXPECT_TRUE(MeasuredAfter(four, 20).empty());
  ProcessorPacing unmarked(1);
  MediaFileParams params = Params(1, 0);
  params.video.marker = 0;
  unmarked.Configure(params);
  EXPECT_TRUE(MeasuredAfter(unmarked, 20).empty());
  // The audio part's word counts when the video part has no marker.
  params.audio.marker = FourCC("MDSR");
  params.audio.pacing = 1;
  unmarked.Configure(params);
  EXPECT_EQ(MeasuredAfter(unmarked, 4), (std::vector<int>{4}));
}

TEST_F(ProcessorPacingTest, DebugLineText) {
  EXPECT_EQ(ProcessorPacing::UsageLine(2, -1),
            u" ____________________\u3000CPU size[2] -- CPU usage[-1]\u3000 "
            u"__________________________\n");
}

}  // namespace
}  // namespace kx
