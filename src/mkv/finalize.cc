// Completing a file at close: the last Cluster, the Cues, the cluster index,
// then the in-place rewrites of the Segment size, the Info and the reserved
// area.
#include <algorithm>

#include "src/ebml/element_ids.h"
#include "src/ebml/segment.h"
#include "src/ebml/void_element.h"
#include "src/mkv/matroska_file_writer.h"
#include "src/mkv/time_units.h"

namespace kx {
namespace {

namespace ids = MatroskaWriter::ids;

// When the Duration differs from the last block's start by more than this
// (100-ns units, one second), the last start wins.
constexpr int64_t kDurationTolerance = 10000000;

}  // namespace

void MatroskaFileWriter::Close() {
  if (!file_) {
    return;
  }
  for (const auto& track : tracks_) {
    if (!track->queue().empty()) {
      FlushQueues();
      break;
    }
  }
  if (!first_block_pending_) {
    FixDuration();
    Finalize();
  }
  file_->Close();
  file_.reset();
}

void MatroskaFileWriter::FixDuration() {
  int64_t latest = 0;
  for (const auto& track : tracks_) {
    latest = std::max(latest, track->written_time());
  }
  if (latest < 1) {
    return;
  }
  SeekTo(info_pos_, kSeekBegin, nullptr);
  info_.duration.Set(static_cast<float>(static_cast<float>(ClosingDuration()) / 10000.0));
  info_.Write(*this);
}

void MatroskaFileWriter::Finalize() {
  SeekTo(0, kSeekEnd, nullptr);
  if (cluster_.HasBlocks()) {
    WriteCluster();
  }
  if (!cues_.empty()) {
    AppendSeek(main_seek_head_, ids::kCues, Tell());
    cues_.Write(*this);
  }
  if (!cluster_seek_head_.empty()) {
    AppendSeek(main_seek_head_, ids::kSeekHead, Tell());
    cluster_seek_head_.Write(*this);
  }

  MatroskaWriter::Segment segment;
  segment.size = static_cast<uint64_t>(Tell() - segment_data_pos_);
  SeekTo(segment_pos_, kSeekBegin, nullptr);
  segment.Write(*this);

  const auto duration_ms = static_cast<int64_t>(info_.duration.Value());
  const int64_t gap = SaturatingSub(last_written_time_, ToTicks(duration_ms));
  if (gap > kDurationTolerance || gap < -kDurationTolerance) {
    const int64_t last_start_ms = last_written_time_ / kTicksPerMillisecond;  // truncated
    info_.duration.Set(static_cast<float>(last_start_ms + 1));
  }
  SeekTo(info_pos_, kSeekBegin, nullptr);
  info_.Write(*this);

  // The main SeekHead goes into the reserved area; entries are dropped from
  // its front until at least 2 bytes remain for the Void that fills the rest
  // (a 1-byte gap cannot hold a Void).
  SeekTo(segment_data_pos_, kSeekBegin, nullptr);
  int64_t remaining = reserved_size_ - static_cast<int64_t>(main_seek_head_.Size(true));
  while (remaining < 2 && !main_seek_head_.empty()) {
    remaining += static_cast<int64_t>(main_seek_head_.RemoveFirst());
  }
  main_seek_head_.Write(*this);

  // Void of exactly `remaining` bytes: 1 ID byte, a size field of n + 1
  // bytes for the smallest n with remaining <= 2^(7(n+1)) - 2, and
  // remaining - 2 - n zero bytes.
  int n = 0;
  while (remaining > (int64_t{1} << (7 * (n + 1))) - 2) {
    ++n;
  }
  MatroskaWriter::Void filler(static_cast<uint64_t>(remaining - 2 - n), n + 1);
  filler.Write(*this);
}

}  // namespace kx
