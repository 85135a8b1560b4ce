#include "src/ebml/cluster.h"

#include <array>

namespace MatroskaWriter {

Cluster::Cluster(uint32_t id)
    : CID(id), timecode(ids::kTimecode), position(ids::kPosition), prev_size(ids::kPrevSize) {}

void Cluster::Add(BlockGroup& group) { groups_ended_ = groups_ended_ || !group.AppendTo(groups_); }

void Cluster::Add(SimpleBlock& simple) {
  simple_blocks_ended_ = simple_blocks_ended_ || !simple.AppendTo(simple_blocks_);
}

Extent Cluster::Measure() const {
  return Standard(timecode.FullSize() + position.FullSize() + prev_size.FullSize() +
                  groups_.size() + simple_blocks_.size());
}

int32_t Cluster::Emit(kx::IStream& stream, const Extent& extent) const {
  std::array<uint8_t, kMaxHeaderBytes + 3 * kMaxScalarBytes> head;  // only written bytes are used
  size_t n = EncodeHeader(extent.payload, head.data());
  n += timecode.Encode(head.data() + n);
  n += position.Encode(head.data() + n);
  n += prev_size.Encode(head.data() + n);
  stream.Write(head.data(), static_cast<uint32_t>(n));
  groups_.WriteTo(stream);
  simple_blocks_.WriteTo(stream);
  return kx::kOk;
}

}  // namespace MatroskaWriter
