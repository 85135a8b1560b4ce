// A Cluster: Timecode, Position and PrevSize, then every BlockGroup, then
// every SimpleBlock, each list in the order its blocks were added. It is
// written once, complete, with a minimal size field; the muxer then empties
// it and reuses the object for the next cluster.
//
// A block is coded the moment it is added, when its place and relative time
// are final, so that writing the cluster is writing two runs of bytes; the
// block object itself is free again at once, and only the storage of its
// large frame stays with the cluster until the cluster is emptied.
#ifndef KX_EBML_CLUSTER_H_
#define KX_EBML_CLUSTER_H_

#include <cstdint>
#include <utility>

#include "src/ebml/block_group.h"
#include "src/ebml/blocks.h"
#include "src/ebml/cid.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/element_image.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class Cluster : public CID {
 public:
  explicit Cluster(uint32_t id = ids::kCluster);

  // Adds a block after the others of its kind. A block without coding ends
  // its list, as a failed child ends a list write: neither it nor any later
  // block of that kind is written.
  void Add(BlockGroup& group);
  void Add(SimpleBlock& simple);

  [[nodiscard]] bool HasBlocks() const { return !groups_.empty() || !simple_blocks_.empty(); }
  // Forgets the blocks, handing the storage of their large frames to
  // `give_back(std::vector<uint8_t>&&, uint64_t track_number)`.
  template <typename GiveBack>
  void ClearBlocks(GiveBack&& give_back) {
    groups_.Clear(give_back);
    simple_blocks_.Clear(give_back);
    groups_ended_ = false;
    simple_blocks_ended_ = false;
  }

  [[nodiscard]] Extent Measure() const override;

  CUInt timecode;
  CUInt position;
  CUInt prev_size;

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  ElementImage groups_;
  ElementImage simple_blocks_;
  bool groups_ended_ = false;
  bool simple_blocks_ended_ = false;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CLUSTER_H_
