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

}  // namespace MatroskaWriter
