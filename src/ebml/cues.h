// The cue index: Cues holding CuePoints, each a CueTime and the positions of
// the tracks at that time.
#ifndef KX_EBML_CUES_H_
#define KX_EBML_CUES_H_

#include <cstdint>

#include "src/ebml/child_list.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/element_image.h"
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

  // Codes the point at the end of `image`, with the bytes Write gives.
  // Returns false, adding nothing, for a point without coding.
  bool AppendTo(ElementImage& image) const;

  CUInt cue_time;
  ChildList<CueTrackPosition> positions;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// The Cues element. A point is coded when it is added, so that a long file's
// index is held as its bytes rather than as thousands of element objects,
// and the caller can fill one CuePoint again for the next.
class Cue : public CID {
 public:
  explicit Cue(uint32_t id = ids::kCues);

  // Adds `point` after the others; a point that has no coding ends the list,
  // as a failed child ends a list write.
  void Add(const CuePoint& point);
  [[nodiscard]] bool empty() const { return points_.empty(); }

  [[nodiscard]] Extent Measure() const override { return Standard(points_.size()); }

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  ElementImage points_;
  bool ended_ = false;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CUES_H_
