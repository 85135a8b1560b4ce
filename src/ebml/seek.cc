#include "src/ebml/seek.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace MatroskaWriter {

SeekID::SeekID() : Master(ids::kSeekID), target(0) {}

void SeekID::VisitChildren(ChildVisitor& visitor) const { visitor.Visit(target); }

SeekHead::SeekHead() : Master(ids::kSeek), seek_position(ids::kSeekPosition) {}

void SeekHead::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(seek_id);
  visitor.Visit(seek_position);
}

// Coded in one piece, a few times faster than the walk over the children:
// the children are coded first and each master's size field is the length
// of what was coded for it, so no size is computed apart from the bytes.
void SeekHead::AppendTo(std::vector<uint8_t>& out) const {
  std::array<uint8_t, 2 * kMaxHeaderBytes + 4 + kMaxScalarBytes>
      coded;  // only coded bytes are used
  std::array<uint8_t, 4> target_id;
  const size_t target_size = CID::EncodeId(seek_id.target.id(), target_id.data());
  std::array<uint8_t, kMaxScalarBytes> position;
  const size_t position_size = seek_position.Encode(position.data());
  const uint64_t id_element_size = seek_id.HeaderSize(target_size) + target_size;

  size_t n = EncodeHeader(id_element_size + position_size, coded.data());
  n += seek_id.EncodeHeader(target_size, coded.data() + n);
  std::memcpy(coded.data() + n, target_id.data(), target_size);
  n += target_size;
  std::memcpy(coded.data() + n, position.data(), position_size);
  n += position_size;
  out.insert(out.end(), coded.data(), coded.data() + n);
}

Seek::Seek(uint32_t id) : CID(id) {}

void Seek::Add(const SeekHead& entry) {
  const size_t before = bytes_.size();
  entry.AppendTo(bytes_);
  entry_sizes_.push_back(bytes_.size() - before);
}

uint64_t Seek::RemoveFirst() {
  if (entry_sizes_.empty()) {
    return 0;
  }
  const size_t size = entry_sizes_.front();
  bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(size));
  entry_sizes_.erase(entry_sizes_.begin());
  return size;
}

int32_t Seek::Emit(kx::IStream& stream, const Extent& /*extent*/) const {
  WriteWithBytes(stream, bytes_.data(), bytes_.size());
  return kx::kOk;
}

}  // namespace MatroskaWriter
