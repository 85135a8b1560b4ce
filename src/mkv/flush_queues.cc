// Moving queued blocks into Clusters on a fixed time grid, with the cluster
// index and the cue points.
#include <utility>

#include "src/ebml/element_ids.h"
#include "src/mkv/matroska_file_writer.h"
#include "src/mkv/time_units.h"

namespace kx {
namespace {

namespace ids = MatroskaWriter::ids;

// The block timecode is a signed 16-bit offset from its Cluster's Timecode.
constexpr int64_t kMinRelativeTime = -32768;
// At most one cue point per cluster position unless a second has passed.
constexpr int64_t kCueSpacingMs = 1000;

}  // namespace

void MatroskaFileWriter::FlushIfDue(bool video_written, const MatroskaStream& written,
                                    size_t threshold) {
  if (video_written) {
    video_seen_ = true;
  } else {
    audio_seen_ = true;
  }
  const bool other_seen = video_written ? audio_seen_ : video_seen_;
  if (other_seen && written.queue().size() >= threshold) {
    FlushQueues();
  }
}

int64_t MatroskaFileWriter::FlushQueues() {
  if (!file_) {
    return 0;
  }
  const int64_t begin = Tell();
  const bool first = !header_written_;
  if (first) {
    WriteHeader();
    header_written_ = true;
  }
  while (MatroskaStream* track = EarliestTrack()) {
    if (!tracks_written_) {
      tracks_pos_ = Tell();
      WriteTracks();
      cue_track_ = ChooseCueTrack();
      tracks_written_ = true;
    }
    TakeIntoCluster(*track);
  }
  if (first) {
    // The file's buffer keeps small writes; the start of the file goes to
    // disk at once, so that the file is seen to begin when samples flow.
    file_->Flush();
  }
  return Tell() - begin;
}

// The track whose oldest block starts first; on equal starts the earlier
// track in the list wins.
MatroskaStream* MatroskaFileWriter::EarliestTrack() {
  MatroskaStream* earliest = nullptr;
  for (const auto& track : tracks_) {
    if (track->queue().empty()) {
      continue;
    }
    if (earliest == nullptr ||
        track->queue().front().block().start < earliest->queue().front().block().start) {
      earliest = track.get();
    }
  }
  return earliest;
}

void MatroskaFileWriter::TakeIntoCluster(MatroskaStream& track) {
  QueuedBlock queued = std::move(track.queue().front());
  track.queue().pop_front();
  MatroskaWriter::CBlock& block = queued.block();
  if (first_block_pending_) {
    base_time_ = block.start;
    first_block_pending_ = false;
  }
  block.start -= base_time_;
  block.end -= base_time_;
  track.set_written_time(ToTicks(block.start));
  if (block.start < kMinRelativeTime) {
    return;  // too early for any Cluster
  }

  // Move the grid forward until the block falls inside the current Cluster's
  // span, writing the open Cluster if it holds blocks; spans that receive no
  // block are skipped without writing anything. The steps are taken in one
  // go, so that a jump far ahead costs no more than a short one.
  const auto timecode = static_cast<int64_t>(cluster_.timecode.Value());
  if (timecode + cluster_span_ms_ < block.start) {
    const int64_t steps = (block.start - timecode - 1) / cluster_span_ms_;
    if (cluster_.HasBlocks()) {
      WriteCluster();
    }
    cluster_.timecode.Set(static_cast<uint64_t>(timecode + steps * cluster_span_ms_));
    RecycleClusterBlocks();
    cue_block_counter_ = 0;
  }
  // A late block far behind the open Cluster cannot be coded in 16 bits; it
  // is dropped like a block earlier than the first.
  const int64_t relative = block.start - static_cast<int64_t>(cluster_.timecode.Value());
  if (relative < kMinRelativeTime) {
    return;
  }

  if (block.track_number == cue_track_) {
    ++cue_block_counter_;
  }
  if (queued.reference() == 0 && block.track_number == cue_track_ && block.keyframe != 0) {
    AddCuePoint(block);
  }
  const auto end = static_cast<float>(block.end);
  if (!info_.duration.IsSet() || info_.duration.Value() < end) {
    info_.duration.Set(end);
  }
  last_written_time_ = ToTicks(block.start);

  block.start = relative;
  queued.AddTo(cluster_);
  track.Recycle(std::move(queued));
}

void MatroskaFileWriter::AddCuePoint(const MatroskaWriter::CBlock& block) {
  // The open Cluster will be written at the current end of the file.
  const int64_t position = Tell() - segment_data_pos_;
  if (position == last_cue_pos_ && last_cue_time_ + kCueSpacingMs >= block.start) {
    return;
  }
  cue_point_.cue_time.Set(static_cast<uint64_t>(block.start));
  MatroskaWriter::CueTrackPosition& track_position = cue_point_.positions.front();
  track_position.cue_track.Set(block.track_number);
  track_position.cue_cluster_position.Set(static_cast<uint64_t>(position));
  if (cluster_.HasBlocks()) {
    track_position.cue_block_number.Set(cue_block_counter_);
  } else {
    track_position.cue_block_number.Clear();
  }
  cues_.Add(cue_point_);
  last_cue_pos_ = position;
  last_cue_time_ = block.start;
}

void MatroskaFileWriter::WriteCluster() {
  AppendSeek(cluster_seek_head_, ids::kCluster, Tell());
  // The Cluster's frames stay alive until it is emptied, after this write.
  const FileEx::HeldWrites held(*file_);
  cluster_.Write(*this);
}

void MatroskaFileWriter::RecycleClusterBlocks() {
  cluster_.ClearBlocks([this](std::vector<uint8_t>&& frame, uint64_t track_number) {
    for (const auto& track : tracks_) {
      if (track->track_number() == track_number) {
        track->KeepFrame(std::move(frame));
        return;
      }
    }
  });
}

}  // namespace kx
