// The Tracks element: track entries in the order they were added, owned by
// the list.
#ifndef KX_EBML_TRACKS_H_
#define KX_EBML_TRACKS_H_

#include "src/ebml/child_list.h"
#include "src/ebml/master.h"
#include "src/ebml/track_entry.h"

namespace MatroskaWriter {

class Track : public Master {
 public:
  Track();

  ChildList<TrackEntry> entries;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_TRACKS_H_
