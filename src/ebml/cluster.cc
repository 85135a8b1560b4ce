#include "src/ebml/cluster.h"

namespace MatroskaWriter {

Cluster::Cluster(uint32_t id)
    : Master(id), timecode(ids::kTimecode), position(ids::kPosition), prev_size(ids::kPrevSize) {}

void Cluster::ClearBlocks() {
  block_groups.Clear();
  simple_blocks.Clear();
}

void Cluster::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(timecode);
  visitor.Visit(position);
  visitor.Visit(prev_size);
  block_groups.Visit(visitor);
  simple_blocks.Visit(visitor);
}

}  // namespace MatroskaWriter
