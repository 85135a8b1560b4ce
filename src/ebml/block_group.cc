#include "src/ebml/block_group.h"

#include <array>
#include <cstring>

#include "src/ebml/chunk_writer.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/size_plan.h"

namespace MatroskaWriter {

BlockMore::BlockMore()
    : Master(ids::kBlockMore),
      block_add_id(ids::kBlockAddID),
      block_additional(ids::kBlockAdditional) {
  block_add_id.Set(1);
}

void BlockMore::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(block_add_id);
  visitor.Visit(block_additional);
}

BlockAdditions::BlockAdditions() : Master(ids::kBlockAdditions) {}

void BlockAdditions::VisitChildren(ChildVisitor& visitor) const { visitor.Visit(block_more); }

BlockGroup::BlockGroup()
    : Master(ids::kBlockGroup),
      block_duration(ids::kBlockDuration),
      reference_priority(ids::kReferencePriority),
      reference_block(ids::kReferenceBlock),
      reference_virtual(ids::kReferenceVirtual),
      codec_state(ids::kCodecState),
      block(ids::kBlock) {}

void BlockGroup::Reset() {
  block_duration.Clear();
  reference_priority.Clear();
  reference_block.Clear();
  reference_virtual.Clear();
  codec_state.Clear();
  block.Reset();
  block_additions.block_more.block_add_id.Set(1);
  block_additions.block_more.block_additional.Clear();
}

void BlockGroup::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(block_duration);
  visitor.Visit(reference_priority);
  visitor.Visit(reference_block);
  visitor.Visit(reference_virtual);
  visitor.Visit(codec_state);
  visitor.Visit(block);
  visitor.Visit(block_additions);
}

Extent BlockGroup::Measure() const { return IsPlain() ? PlainExtent() : Master::Measure(); }

Extent BlockGroup::Plan(SizePlan& plan) const {
  if (!IsPlain()) {
    return Master::Plan(plan);
  }
  const Extent extent = PlainExtent();
  plan.Add(extent);
  return extent;
}

bool BlockGroup::IsPlain() const {
  return codec_state.empty() && block.frames.size() <= 1 &&
         block_additions.block_more.block_additional.empty();
}

uint64_t BlockGroup::PlainAdditionsPayload(uint64_t more_payload) const {
  return block_additions.block_more.HeaderSize(more_payload) + more_payload;
}

Extent BlockGroup::PlainExtent() const {
  const Extent block_extent = block.Measure();
  const uint64_t additions =
      PlainAdditionsPayload(block_additions.block_more.block_add_id.FullSize());
  Extent extent =
      Standard(block_duration.FullSize() + reference_priority.FullSize() +
               reference_block.FullSize() + reference_virtual.FullSize() + block_extent.total() +
               block_additions.HeaderSize(additions) + additions);
  extent.codable = extent.codable && block_extent.codable;
  return extent;
}

int32_t BlockGroup::EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& plan) const {
  if (!IsPlain()) {
    return Master::EmitPlanned(stream, extent, plan);
  }
  // Head, frame and tail are laid out in one buffer and written at once when
  // the frame is small; a large frame goes to the stream on its own.
  constexpr size_t kHeadRoom = kMaxHeaderBytes + 4 * kMaxScalarBytes + CBlock::kMaxHeadBytes;
  constexpr size_t kTailRoom = 2 * kMaxHeaderBytes + kMaxScalarBytes;
  constexpr size_t kSmallFrame = 256;
  std::array<uint8_t, kHeadRoom + kSmallFrame + kTailRoom> out;  // only written bytes are used
  size_t n = EncodeHeader(extent.payload, out.data());
  n += block_duration.Encode(out.data() + n);
  n += reference_priority.Encode(out.data() + n);
  n += reference_block.Encode(out.data() + n);
  n += reference_virtual.Encode(out.data() + n);
  n += block.EncodeHead(block.Measure().payload, out.data() + n);

  const uint8_t* frame = block.frames.empty() ? nullptr : block.frames.front().data();
  const size_t frame_size = block.frames.empty() ? 0 : block.frames.front().size();
  const bool small = frame_size <= kSmallFrame;
  if (small) {
    if (frame_size != 0) {
      std::memcpy(out.data() + n, frame, frame_size);
    }
    n += frame_size;
  } else {
    stream.Write(out.data(), static_cast<uint32_t>(n));
    ChunkWriter::WriteAll(stream, frame, frame_size);
    n = 0;
  }
  const BlockMore& more = block_additions.block_more;
  const uint64_t more_payload = more.block_add_id.FullSize();
  n += block_additions.EncodeHeader(PlainAdditionsPayload(more_payload), out.data() + n);
  n += more.EncodeHeader(more_payload, out.data() + n);
  n += more.block_add_id.Encode(out.data() + n);
  stream.Write(out.data(), static_cast<uint32_t>(n));
  return kx::kOk;
}

}  // namespace MatroskaWriter
