#include "src/ebml/cues.h"

namespace MatroskaWriter {

CueTrackPosition::CueTrackPosition()
    : Master(ids::kCueTrackPositions),
      cue_track(ids::kCueTrack),
      cue_cluster_position(ids::kCueClusterPosition),
      cue_block_number(ids::kCueBlockNumber),
      cue_codec_state(ids::kCueCodecState) {}

void CueTrackPosition::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(cue_track);
  visitor.Visit(cue_cluster_position);
  visitor.Visit(cue_block_number);
  visitor.Visit(cue_codec_state);
}

CuePoint::CuePoint() : Master(ids::kCuePoint), cue_time(ids::kCueTime) {}

void CuePoint::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(cue_time);
  positions.Visit(visitor);
}

Cue::Cue(uint32_t id) : Master(id) {}

void Cue::VisitChildren(ChildVisitor& visitor) const { points.Visit(visitor); }

}  // namespace MatroskaWriter
