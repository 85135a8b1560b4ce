#include "src/ebml/tracks.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

Track::Track() : Master(ids::kTracks) {}

void Track::VisitChildren(ChildVisitor& visitor) const { entries.Visit(visitor); }

}  // namespace MatroskaWriter
