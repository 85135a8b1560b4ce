#include "src/ebml/seek.h"

namespace MatroskaWriter {

SeekID::SeekID() : Master(ids::kSeekID), target(0) {}

void SeekID::VisitChildren(ChildVisitor& visitor) const { visitor.Visit(target); }

SeekHead::SeekHead() : Master(ids::kSeek), seek_position(ids::kSeekPosition) {}

void SeekHead::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(seek_id);
  visitor.Visit(seek_position);
}

Seek::Seek(uint32_t id) : Master(id) {}

void Seek::VisitChildren(ChildVisitor& visitor) const { entries.Visit(visitor); }

}  // namespace MatroskaWriter
