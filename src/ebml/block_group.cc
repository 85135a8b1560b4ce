#include "src/ebml/block_group.h"

#include "src/ebml/element_ids.h"

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

bool BlockGroup::IsPlain() const {
  return codec_state.empty() && block.frames.size() <= 1 &&
         block_additions.block_more.block_additional.empty();
}

BlockGroup::PlainLayout BlockGroup::LayOutPlain() const {
  PlainLayout layout;
  const Extent block_extent = block.Measure();
  layout.block_payload = block_extent.payload;
  layout.more_payload = block_additions.block_more.block_add_id.FullSize();
  layout.additions_payload =
      block_additions.block_more.HeaderSize(layout.more_payload) + layout.more_payload;
  layout.group =
      Standard(block_duration.FullSize() + reference_priority.FullSize() +
               reference_block.FullSize() + reference_virtual.FullSize() + block_extent.total() +
               block_additions.HeaderSize(layout.additions_payload) + layout.additions_payload);
  layout.group.codable = layout.group.codable && block_extent.codable;
  return layout;
}

bool BlockGroup::AppendTo(ElementImage& image) {
  if (!IsPlain()) {
    return Write(image) >= 0;
  }
  const PlainLayout layout = LayOutPlain();
  if (!layout.group.codable) {
    return false;
  }
  image.Commit(EncodePlainHead(layout, image.Reserve(kPlainHeadRoom)));
  block.AppendFrame(image);
  image.Commit(EncodePlainTail(layout, image.Reserve(kPlainTailRoom)));
  return true;
}

size_t BlockGroup::EncodePlainHead(const PlainLayout& layout, uint8_t* out) const {
  size_t n = EncodeHeader(layout.group.payload, out);
  n += block_duration.Encode(out + n);
  n += reference_priority.Encode(out + n);
  n += reference_block.Encode(out + n);
  n += reference_virtual.Encode(out + n);
  n += block.EncodeHead(layout.block_payload, out + n);
  return n;
}

size_t BlockGroup::EncodePlainTail(const PlainLayout& layout, uint8_t* out) const {
  const BlockMore& more = block_additions.block_more;
  size_t n = block_additions.EncodeHeader(layout.additions_payload, out);
  n += more.EncodeHeader(layout.more_payload, out + n);
  n += more.block_add_id.Encode(out + n);
  return n;
}

}  // namespace MatroskaWriter
