// One frame's block while it waits in a track's queue for a Cluster: either a
// BlockGroup (Matroska) or a SimpleBlock (WebM without block additions).
#ifndef KX_MKV_QUEUED_BLOCK_H_
#define KX_MKV_QUEUED_BLOCK_H_

#include <memory>
#include <utility>

#include "src/ebml/block_group.h"
#include "src/ebml/blocks.h"
#include "src/ebml/cluster.h"

namespace kx {

class QueuedBlock {
 public:
  explicit QueuedBlock(std::unique_ptr<MatroskaWriter::BlockGroup> group);
  explicit QueuedBlock(std::unique_ptr<MatroskaWriter::SimpleBlock> simple);

  // The block proper, with track number, times, frame and keyframe flag.
  MatroskaWriter::CBlock& block();
  [[nodiscard]] const MatroskaWriter::CBlock& block() const;

  // The ReferenceBlock value; 0 when absent (and always for a SimpleBlock).
  [[nodiscard]] int64_t reference() const;

  // Codes the block into the cluster, after the others of its kind; the
  // object can carry another frame afterwards.
  void AddTo(MatroskaWriter::Cluster& cluster);

  // The block object, for reuse; null for the other kind.
  std::unique_ptr<MatroskaWriter::BlockGroup> ReleaseGroup() { return std::move(group_); }
  std::unique_ptr<MatroskaWriter::SimpleBlock> ReleaseSimple() { return std::move(simple_); }

 private:
  std::unique_ptr<MatroskaWriter::BlockGroup> group_;
  std::unique_ptr<MatroskaWriter::SimpleBlock> simple_;
};

}  // namespace kx

#endif  // KX_MKV_QUEUED_BLOCK_H_
