// A small but complete file built from the element classes and read back by
// libwebm's parser: checks that an independent reader sees the values, the
// lacing and the positions we meant to write.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string>

#include "src/ebml/elements.h"
#include "tests/ebml/element_test_util.h"
#include "tests/support/matroska_file.h"
#include "tests/support/memory_stream.h"
#include "tests/support/temp_dir.h"

namespace kx::test {
namespace {

namespace mw = MatroskaWriter;

std::unique_ptr<mw::SeekHead> SeekEntry(uint32_t id, uint64_t position) {
  auto entry = std::make_unique<mw::SeekHead>();
  entry->seek_id.target.set_id(id);
  entry->seek_position.Set(position);
  return entry;
}

// Lays out: EBML, Segment, reserved Void, Info, Tracks, Cluster, Cues, then
// rewrites the Segment size and fills the reserved area with a SeekHead and
// a Void, as a muxer does.
Bytes BuildFile() {
  MemoryStream stream;
  mw::EBML header;
  header.doc_type.Set("matroska");
  header.doc_type_version.Set(4);
  header.doc_type_read_version.Set(2);
  header.Write(stream);

  const uint64_t segment_pos = stream.position();
  mw::Segment segment;
  segment.Write(stream);
  const uint64_t data_pos = stream.position();
  const mw::Void reserved(200);
  reserved.Write(stream);

  const uint64_t info_pos = stream.position() - data_pos;
  mw::Info info;
  info.duration.Set(1234.0F);
  info.muxing_app.Set(u"kx \u00E9 muxer");
  info.Write(stream);

  const uint64_t tracks_pos = stream.position() - data_pos;
  mw::Track tracks;
  auto video = std::make_unique<mw::TrackEntry>();
  video->type_selector = mw::TrackEntry::kVideo;
  video->track_number.Set(1);
  video->track_type.Set(1);
  video->codec_id.SetText("V_MPEG4/ISO/AVC");
  video->codec_private.Assign(Hex("01 64 00 1F").data(), 4);
  video->video.pixel_width.Set(1920);
  video->video.pixel_height.Set(1080);
  tracks.entries.Append(std::move(video));
  auto audio = std::make_unique<mw::TrackEntry>();
  audio->type_selector = mw::TrackEntry::kAudio;
  audio->track_number.Set(127);
  audio->track_type.Set(2);
  audio->codec_id.SetText("A_VORBIS");
  audio->audio.sampling_frequency.Set(48000.0F);
  audio->audio.channels.Set(2);
  tracks.entries.Append(std::move(audio));
  tracks.Write(stream);

  const uint64_t cluster_pos = stream.position() - data_pos;
  mw::Cluster cluster;
  cluster.timecode.Set(1000);
  auto group = std::make_unique<mw::BlockGroup>();
  group->block.track_number = 127;
  group->block.start = -5;
  group->block.frames = {Bytes(300, 0xA1), Bytes(255, 0xB2), Bytes(7, 0xC3)};
  group->reference_block.Set(-40);
  cluster.block_groups.Append(std::move(group));
  auto key = std::make_unique<mw::SimpleBlock>();
  key->track_number = 1;
  key->start = 0;
  key->keyframe = 1;
  key->frames.emplace_back(5000, 0x5A);
  cluster.simple_blocks.Append(std::move(key));
  cluster.Write(stream);

  const uint64_t cues_pos = stream.position() - data_pos;
  mw::Cue cues;
  auto point = std::make_unique<mw::CuePoint>();
  point->cue_time.Set(1000);
  auto position = std::make_unique<mw::CueTrackPosition>();
  position->cue_track.Set(1);
  position->cue_cluster_position.Set(cluster_pos);
  point->positions.Append(std::move(position));
  cues.points.Append(std::move(point));
  cues.Write(stream);

  const uint64_t end = stream.position();
  segment.size = end - data_pos;
  stream.SeekTo(static_cast<int64_t>(segment_pos), kx::kSeekBegin, nullptr);
  segment.Write(stream);

  mw::Seek seek_head;
  seek_head.entries.Append(SeekEntry(mw::ids::kInfo, info_pos));
  seek_head.entries.Append(SeekEntry(mw::ids::kTracks, tracks_pos));
  seek_head.entries.Append(SeekEntry(mw::ids::kCues, cues_pos));
  const uint64_t gap = reserved.Size(true) - seek_head.Size(true);
  seek_head.Write(stream);
  // The smallest size field n + 1 for which the gap still fits, as muxers pick it.
  int n = 0;
  while (gap > (uint64_t{1} << (7 * (n + 1))) - 2) {
    ++n;
  }
  const mw::Void filler(gap - 2 - static_cast<uint64_t>(n), n + 1);
  EXPECT_EQ(filler.Size(true), gap);
  filler.Write(stream);
  EXPECT_EQ(stream.position() - data_pos, info_pos);
  return stream.bytes();
}

TEST(RoundTripTest, LibwebmReadsBackWhatWasWritten) {
  const Bytes bytes = BuildFile();
  const TempDir dir;
  const std::string path = (dir.path() / "round_trip.mkv").string();
  {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
  }
  const MatroskaFile file = ReadMatroskaFile(path);
  ASSERT_TRUE(file.parsed);
  EXPECT_EQ(file.doc_type, "matroska");
  EXPECT_EQ(file.doc_type_version, 4U);
  EXPECT_EQ(file.segment_data_position + file.segment_size, bytes.size());
  EXPECT_EQ(file.timecode_scale, 1000000U);
  EXPECT_DOUBLE_EQ(file.duration, 1234.0);
  EXPECT_EQ(file.muxing_app, "kx \xC3\xA9 muxer");

  ASSERT_EQ(file.top_level.size(), 6U);
  const std::array<uint32_t, 6> order = {mw::ids::kSeekHead, mw::ids::kVoid,    mw::ids::kInfo,
                                         mw::ids::kTracks,   mw::ids::kCluster, mw::ids::kCues};
  for (size_t i = 0; i < file.top_level.size(); ++i) {
    EXPECT_EQ(file.top_level[i].id, order[i]) << i;
  }
  ASSERT_EQ(file.seeks.size(), 3U);
  EXPECT_EQ(file.seeks[0].id, mw::ids::kInfo);
  EXPECT_EQ(file.seeks[0].position + file.segment_data_position, file.top_level[2].position);
  EXPECT_EQ(file.seeks[2].position + file.segment_data_position, file.top_level[5].position);

  ASSERT_EQ(file.tracks.size(), 2U);
  EXPECT_EQ(file.tracks[0].codec_id.c_str(), std::string("V_MPEG4/ISO/AVC"));
  EXPECT_EQ(file.tracks[0].codec_private, Hex("01 64 00 1F"));
  EXPECT_EQ(file.tracks[0].pixel_width, 1920U);
  EXPECT_EQ(file.tracks[1].number, 127U);

  ASSERT_EQ(file.blocks.size(), 2U);
  const BlockInfo& laced = file.blocks[0];
  EXPECT_FALSE(laced.simple);
  EXPECT_EQ(laced.track, 127U);
  EXPECT_EQ(laced.time(), 995);
  EXPECT_EQ(laced.references, (std::vector<int64_t>{-40}));
  ASSERT_EQ(laced.frames.size(), 3U);
  EXPECT_EQ(laced.frames[0], Bytes(300, 0xA1));
  EXPECT_EQ(laced.frames[1], Bytes(255, 0xB2));
  EXPECT_EQ(laced.frames[2], Bytes(7, 0xC3));
  const BlockInfo& simple = file.blocks[1];
  EXPECT_TRUE(simple.simple);
  EXPECT_TRUE(simple.key);
  EXPECT_EQ(simple.frames, (std::vector<Bytes>{Bytes(5000, 0x5A)}));

  ASSERT_EQ(file.cues.size(), 1U);
  EXPECT_EQ(file.cues[0].cluster_position + file.segment_data_position, file.cluster_positions[0]);
}

}  // namespace
}  // namespace kx::test
