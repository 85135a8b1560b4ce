#include "src/mkv/matroska_stream.h"

#include <string>
#include <utility>

#include "src/mkv/codec_ids.h"
#include "src/mkv/codec_private.h"
#include "src/mkv/time_units.h"
#include "src/platform/crt_rand.h"

namespace kx {
namespace {

// What a track keeps for reuse: about what a written Cluster and the queues
// hold at a time, and no frame storage of unusual size.
constexpr size_t kMaxSpareBlocks = 64;
constexpr size_t kMaxKeptFrameBytes = size_t{1} << 20;

template <typename Block>
std::unique_ptr<Block> TakeSpare(std::vector<std::unique_ptr<Block>>& spares) {
  if (spares.empty()) {
    return std::make_unique<Block>();
  }
  std::unique_ptr<Block> block = std::move(spares.back());
  spares.pop_back();
  return block;
}

}  // namespace

using MatroskaWriter::BlockGroup;
using MatroskaWriter::CBlock;
using MatroskaWriter::SimpleBlock;
using MatroskaWriter::TrackEntry;

MatroskaStream::MatroskaStream(bool use_simple_block, bool has_additions)
    : use_simple_block_(use_simple_block),
      has_additions_(has_additions),
      entry_(std::make_unique<TrackEntry>()) {}

MatroskaStream::~MatroskaStream() = default;

void MatroskaStream::BeginSetup(uint64_t track_number, uint64_t track_type) {
  codec_private_settled_ = false;
  last_start_ = -1;
  last_end_ = -1;
  written_time_ = 0;
  entry_ = std::make_unique<TrackEntry>();
  entry_->track_uid.Set(static_cast<uint64_t>(platform::CrtRand()));
  entry_->min_cache.Set(1);
  entry_->max_cache.Set(1);
  entry_->track_number.Set(track_number);
  entry_->track_type.Set(track_type);
  entry_->language.Set("und");
  if (use_simple_block_) {
    entry_->flag_lacing.Set(1);
    entry_->flag_default.Set(1);
  }
  entry_->type_selector = track_type == kVideoTrackType   ? TrackEntry::kVideo
                          : track_type == kAudioTrackType ? TrackEntry::kAudio
                                                          : 0;
}

int32_t MatroskaStream::AddFrame(const uint8_t* data, int32_t size, int64_t start, int64_t end,
                                 int32_t key, const uint8_t* additions, int32_t additions_size) {
  if (size <= 0 || data == nullptr) {
    return 0;
  }
  std::unique_ptr<BlockGroup> group;
  std::unique_ptr<SimpleBlock> simple;
  CBlock* block = nullptr;
  if (use_simple_block_ && !has_additions_) {
    simple = TakeSpare(spare_simple_);
    block = simple.get();
  } else {
    group = TakeSpare(spare_groups_);
    block = &group->block;
    // A non-key frame (or one sharing its predecessor's time) refers back to
    // the previous frame. Starts far apart (a broken host clock) give the
    // largest offset of their sign rather than an overflow.
    if ((key == 0 || last_start_ == start) && last_start_ >= 0) {
      group->reference_block.Set(RoundedOffsetMilliseconds(SaturatingSub(last_start_, start)));
    }
    if (track_type() == kSubtitleTrackType) {
      group->block_duration.Set(static_cast<uint64_t>(ToMilliseconds(SaturatingSub(end, start))));
    }
    if (additions_size > 0 && additions != nullptr && has_additions_) {
      group->block_additions.block_more.block_additional.Assign(
          additions, static_cast<size_t>(additions_size));
    }
  }
  block->track_number = track_number();
  block->keyframe = key;
  block->start = ToMilliseconds(start);
  block->end = ToMilliseconds(end);
  block->frames.push_back(CopyFrame(data, size));
  if (group) {
    queue_.emplace_back(std::move(group));
  } else {
    queue_.emplace_back(std::move(simple));
  }
  last_start_ = start;
  last_end_ = end;
  if (!codec_private_settled_ && entry_->codec_private.empty()) {
    ReserveCodecPrivate(data, size);
  }
  return size;
}

void MatroskaStream::Recycle(QueuedBlock&& queued) {
  if (std::unique_ptr<BlockGroup> group = queued.ReleaseGroup();
      group && spare_groups_.size() < kMaxSpareBlocks) {
    KeepFrameStorage(group->block);
    group->Reset();
    spare_groups_.push_back(std::move(group));
  }
  if (std::unique_ptr<SimpleBlock> simple = queued.ReleaseSimple();
      simple && spare_simple_.size() < kMaxSpareBlocks) {
    KeepFrameStorage(*simple);
    simple->Reset();
    spare_simple_.push_back(std::move(simple));
  }
}

void MatroskaStream::KeepFrameStorage(CBlock& block) {
  for (std::vector<uint8_t>& frame : block.frames) {
    KeepFrame(std::move(frame));
  }
}

void MatroskaStream::KeepFrame(std::vector<uint8_t>&& frame) {
  // A frame taken over by the Cluster leaves no storage behind.
  if (frame.capacity() != 0 && spare_frames_.size() < kMaxSpareBlocks &&
      frame.capacity() <= kMaxKeptFrameBytes) {
    spare_frames_.push_back(std::move(frame));
  }
}

std::vector<uint8_t> MatroskaStream::CopyFrame(const uint8_t* data, int32_t size) {
  std::vector<uint8_t> frame;
  if (!spare_frames_.empty()) {
    frame = std::move(spare_frames_.back());
    spare_frames_.pop_back();
  }
  frame.assign(data, data + size);
  return frame;
}

// CodecPrivate that configuration data may still fill is reserved as zeros
// the first time a frame arrives, so the Tracks element written at the first
// flush never has to change size.
void MatroskaStream::ReserveCodecPrivate(const uint8_t* data, int32_t size) {
  const std::string codec_id = entry_->codec_id.Text();
  size_t reservation = 0;
  switch (track_type()) {
    case kVideoTrackType:
      if (codec_id == "V_MPEG1" || codec_id == "V_MPEG2") {
        // Every frame is searched until one holds a sequence header.
        if (auto header = FindMpegSequenceHeader(data, static_cast<size_t>(size))) {
          entry_->codec_private.Assign(data + header->offset, header->length);
        }
        return;
      }
      if (CodecIdStartsWith(codec_id, "V_MPEG4/ISO/AVC") ||
          CodecIdStartsWith(codec_id, "V_MPEGH/ISO/HEVC")) {
        reservation = 1024;
      }
      break;
    case kAudioTrackType:
      if (codec_id == "A_AAC") {
        reservation = 1024;
      }
      if (codec_id == "A_VORBIS") {
        reservation = 10240;
      }
      break;
    case kSubtitleTrackType:
      if (codec_id == "S_TEXT/ASS") {
        reservation = 1024;
      }
      if (codec_id == "S_TEXT/SSA") {
        reservation = 10240;
      }
      break;
    default:
      break;
  }
  if (reservation != 0) {
    entry_->codec_private.Resize(reservation);
  }
  codec_private_settled_ = true;  // the same CodecID decides the same way again
}

}  // namespace kx
