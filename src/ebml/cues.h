// The cue index: Cues holding CuePoints, each a CueTime and the positions of
// the tracks at that time.
#ifndef KX_EBML_CUES_H_
#define KX_EBML_CUES_H_

#include <cstdint>

#include "src/ebml/child_list.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

// CueTrackPositions (0xB7).
class CueTrackPosition : public Master {
 public:
  CueTrackPosition();

  CUInt cue_track;
  CUInt cue_cluster_position;
  CUInt cue_block_number;
  CUInt cue_codec_state;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// CueTime first, then the positions in the order they were added.
class CuePoint : public Master {
 public:
  CuePoint();

  CUInt cue_time;
  ChildList<CueTrackPosition> positions;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// The Cues element.
class Cue : public Master {
 public:
  explicit Cue(uint32_t id = ids::kCues);

  ChildList<CuePoint> points;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CUES_H_
