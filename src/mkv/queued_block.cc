#include "src/mkv/queued_block.h"

#include <utility>

namespace kx {

QueuedBlock::QueuedBlock(std::unique_ptr<MatroskaWriter::BlockGroup> group)
    : group_(std::move(group)) {}

QueuedBlock::QueuedBlock(std::unique_ptr<MatroskaWriter::SimpleBlock> simple)
    : simple_(std::move(simple)) {}

MatroskaWriter::CBlock& QueuedBlock::block() { return group_ ? group_->block : *simple_; }

const MatroskaWriter::CBlock& QueuedBlock::block() const {
  return group_ ? group_->block : *simple_;
}

int64_t QueuedBlock::reference() const { return group_ ? group_->reference_block.Value() : 0; }

void QueuedBlock::AddTo(MatroskaWriter::Cluster& cluster) {
  if (group_) {
    cluster.Add(*group_);
  } else {
    cluster.Add(*simple_);
  }
}

}  // namespace kx
