#include "src/ebml/track_entry.h"

#include <gtest/gtest.h>

#include <memory>

#include "src/ebml/colour.h"
#include "src/ebml/tracks.h"
#include "tests/ebml/element_test_util.h"

namespace kx::test {
namespace {

using MatroskaWriter::TrackEntry;

TEST(TrackEntryTest, SelectorChoosesVideoAudioOrNeither) {
  TrackEntry entry;
  EXPECT_EQ(Written(entry), Hex("AE 80"));

  entry.type_selector = TrackEntry::kVideo;
  EXPECT_EQ(Written(entry), Join({Hex("AE A4 E0 A2"), Written(MatroskaWriter::Colour())}));

  entry.type_selector = TrackEntry::kAudio;
  EXPECT_EQ(Written(entry), Hex("AE 82 E1 80"));

  entry.type_selector = 3;
  EXPECT_EQ(Written(entry), Hex("AE 80"));
}

TEST(TrackEntryTest, AudioEntryWithCodecId) {
  TrackEntry entry;
  entry.type_selector = TrackEntry::kAudio;
  entry.track_number.Set(1);
  entry.track_type.Set(2);
  entry.codec_id.SetText("A_AAC");
  entry.audio.sampling_frequency.Set(48000.0F);
  EXPECT_EQ(entry.codec_id.Size(false), 6U);
  EXPECT_EQ(Written(entry), Hex("AE 96 D7 81 01 83 81 02 86 86 41 5F 41 41 43 00"
                                "E1 86 B5 84 47 3B 80 00"));
  EXPECT_EQ(entry.codec_id.Text(), "A_AAC");
}

TEST(TrackEntryTest, WritesEveryChildInItsFixedOrder) {
  TrackEntry entry;
  entry.seek_pre_roll.Set(1);
  entry.track_overlay.Set(1);
  entry.codec_decode_all.Set(1);
  entry.codec_download_url.Set("h");
  entry.codec_info_url.Set("g");
  entry.codec_settings.Set(u"f");
  entry.codec_name.Set(u"e");
  entry.codec_private.SetText("");
  entry.codec_private.bytes()[0] = 0x64;
  entry.codec_id.SetText("c");
  entry.language.Set("b");
  entry.name.Set(u"a");
  entry.max_block_addition_id.Set(1);
  entry.default_duration.Set(1);
  entry.max_cache.Set(1);
  entry.min_cache.Set(1);
  entry.flag_lacing.Set(1);
  entry.flag_default.Set(1);
  entry.flag_enabled.Set(1);
  entry.track_type.Set(1);
  entry.track_uid.Set(1);
  entry.track_number.Set(1);
  EXPECT_EQ(Written(entry), Hex("AE D4 D7 81 01 73 C5 81 01 83 81 01 B9 81 01 88 81 01 9C 81 01"
                                "6D E7 81 01 6D F8 81 01 23 E3 83 81 01 55 EE 81 01"
                                "53 6E 81 61 22 B5 9C 81 62 86 82 63 00 63 A2 81 64"
                                "25 86 88 81 65 3A 96 97 81 66 3B 40 40 81 67 26 B2 40 81 68"
                                "AA 81 01 6F AB 81 01 56 BB 81 01"));
}

TEST(TrackEntryTest, CopiesAreDeepAndIndependent) {
  TrackEntry original;
  original.type_selector = TrackEntry::kVideo;
  original.track_number.Set(1);
  original.codec_id.SetText("V_MPEG4/ISO/AVC");
  original.codec_private.Resize(1024);
  original.name.Set(u"main");
  original.language.Set("und");
  original.video.pixel_width.Set(1920);
  original.video.projection_switch = 1;
  original.video.projection.projection_type.Set(1);
  original.video.colour.mastering_metadata.luminance_max.Set(1000.0F);
  const Bytes expected = Written(original);

  TrackEntry copy(original);
  EXPECT_EQ(Written(copy), expected);
  copy.codec_private.bytes()[0] = 1;
  copy.video.colour.mastering_metadata.luminance_max.Set(500.0F);
  copy.name.Set(u"other");
  EXPECT_EQ(Written(original), expected);

  TrackEntry assigned;
  assigned = original;
  EXPECT_EQ(Written(assigned), expected);
}

TEST(TrackEntryTest, TracksOwnsCopiesOfTheEntries) {
  TrackEntry video;
  video.track_number.Set(1);
  TrackEntry audio;
  audio.track_number.Set(2);
  audio.type_selector = TrackEntry::kAudio;

  MatroskaWriter::Track tracks;
  EXPECT_EQ(Written(tracks), Hex("16 54 AE 6B 80"));
  tracks.entries.Append(std::make_unique<TrackEntry>(video));
  tracks.entries.Append(std::make_unique<TrackEntry>(audio));
  EXPECT_EQ(Written(tracks), Hex("16 54 AE 6B 8C AE 83 D7 81 01 AE 85 D7 81 02 E1 80"));
}

}  // namespace
}  // namespace kx::test
