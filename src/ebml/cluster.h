// A Cluster: Timecode, Position and PrevSize, then every BlockGroup, then
// every SimpleBlock, each list in the order its blocks were added. It is
// written once, complete, with a minimal size field; the muxer then empties
// the lists and reuses the object for the next cluster.
#ifndef KX_EBML_CLUSTER_H_
#define KX_EBML_CLUSTER_H_

#include <cstdint>

#include "src/ebml/block_group.h"
#include "src/ebml/blocks.h"
#include "src/ebml/child_list.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class Cluster : public Master {
 public:
  explicit Cluster(uint32_t id = ids::kCluster);

  [[nodiscard]] bool HasBlocks() const { return !block_groups.empty() || !simple_blocks.empty(); }
  // Destroys the blocks of both lists and their frames.
  void ClearBlocks();

  CUInt timecode;
  CUInt position;
  CUInt prev_size;
  ChildList<BlockGroup> block_groups;
  ChildList<SimpleBlock> simple_blocks;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CLUSTER_H_
