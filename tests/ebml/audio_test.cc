#include "src/ebml/audio.h"

#include <gtest/gtest.h>

#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

TEST(AudioTest, EmptyAudioIsStillWritten) {
  EXPECT_EQ(Written(MatroskaWriter::Audio()), Hex("E1 80"));
}

TEST(AudioTest, WritesChildrenInTheirFixedOrder) {
  MatroskaWriter::Audio audio;
  audio.sampling_frequency.Set(48000.0F);
  EXPECT_EQ(Written(audio), Hex("E1 86 B5 84 47 3B 80 00"));

  audio.bit_depth.Set(16);
  const Bytes positions = Hex("AB");
  audio.channel_positions.Assign(positions.data(), positions.size());
  audio.channels.Set(2);
  audio.output_sampling_frequency.Set(96000.0F);
  EXPECT_EQ(Written(audio), Hex("E1 98 B5 84 47 3B 80 00 78 B5 84 47 BB 80 00"
                                "9F 81 02 7D 7B 81 AB 62 64 81 10"));
}

}  // namespace
}  // namespace kx::test
