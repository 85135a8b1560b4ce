// Per-track state: the TrackEntry, the blocks waiting for a Cluster, and the
// little state needed to turn frames into blocks.
#ifndef KX_MKV_MATROSKA_STREAM_H_
#define KX_MKV_MATROSKA_STREAM_H_

#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "src/ebml/track_entry.h"
#include "src/mkv/queued_block.h"

namespace kx {

class MatroskaStream {
 public:
  // `use_simple_block` (WebM) makes SimpleBlocks unless the track carries
  // block additions (alpha data), which need BlockGroups.
  explicit MatroskaStream(bool use_simple_block = false, bool has_additions = false);
  MatroskaStream(const MatroskaStream&) = delete;
  MatroskaStream& operator=(const MatroskaStream&) = delete;
  virtual ~MatroskaStream();

  // Starts a setup: forgets the previous frame and makes a new TrackEntry
  // with the fields every track shares.
  void BeginSetup(uint64_t track_number, uint64_t track_type);

  // Makes one block from one frame (times in 100-ns units) and queues it;
  // derives or reserves CodecPrivate from the first frames. Returns `size`,
  // or 0 when nothing was queued (empty or negative size, no data).
  int32_t AddFrame(const uint8_t* data, int32_t size, int64_t start, int64_t end, int32_t key,
                   const uint8_t* additions = nullptr, int32_t additions_size = 0);

  MatroskaWriter::TrackEntry& entry() { return *entry_; }
  [[nodiscard]] const MatroskaWriter::TrackEntry& entry() const { return *entry_; }
  [[nodiscard]] uint64_t track_number() const { return entry_->track_number.Value(); }
  [[nodiscard]] uint64_t track_type() const { return entry_->track_type.Value(); }

  // Takes back a block of this track once it is coded into its Cluster, and
  // the storage of a large frame once the Cluster is written; the next frames
  // reuse them instead of allocating.
  void Recycle(QueuedBlock&& queued);
  void KeepFrame(std::vector<uint8_t>&& frame);

  std::deque<QueuedBlock>& queue() { return queue_; }
  [[nodiscard]] const std::deque<QueuedBlock>& queue() const { return queue_; }

  [[nodiscard]] bool use_simple_block() const { return use_simple_block_; }
  [[nodiscard]] bool has_additions() const { return has_additions_; }

  // Start of the last block taken into a Cluster, 100-ns units.
  [[nodiscard]] int64_t written_time() const { return written_time_; }
  void set_written_time(int64_t ticks) { written_time_ = ticks; }

 private:
  void ReserveCodecPrivate(const uint8_t* data, int32_t size);
  // Keeps the storage of the block's frames for later frames.
  void KeepFrameStorage(MatroskaWriter::CBlock& block);
  // A copy of the frame, in kept storage when there is some.
  std::vector<uint8_t> CopyFrame(const uint8_t* data, int32_t size);

  int64_t written_time_ = 0;
  std::deque<QueuedBlock> queue_;
  bool use_simple_block_;
  bool has_additions_;
  std::unique_ptr<MatroskaWriter::TrackEntry> entry_;
  int64_t last_start_ = -1;
  int64_t last_end_ = -1;
  // The first frame decided the reservation for good (every CodecID but
  // MPEG-1/2 video, whose sequence header is looked for in each frame).
  bool codec_private_settled_ = false;
  // Blocks and frame buffers of written Clusters, ready for reuse.
  std::vector<std::unique_ptr<MatroskaWriter::BlockGroup>> spare_groups_;
  std::vector<std::unique_ptr<MatroskaWriter::SimpleBlock>> spare_simple_;
  std::vector<std::vector<uint8_t>> spare_frames_;
};

// Track types.
inline constexpr uint64_t kVideoTrackType = 1;
inline constexpr uint64_t kAudioTrackType = 2;
inline constexpr uint64_t kSubtitleTrackType = 17;

}  // namespace kx

#endif  // KX_MKV_MATROSKA_STREAM_H_
