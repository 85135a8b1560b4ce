#include "src/ebml/cues.h"

#include <array>
#include <cstring>

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

// The usual point (one position) is coded in one piece, a few times faster
// than the walk over its children: the children are coded first and each
// master's size field is the length of what was coded for it, so no size is
// computed apart from the bytes. Any other point takes the walk.
bool CuePoint::AppendTo(ElementImage& image) const {
  if (positions.size() != 1) {
    return Write(image) >= 0;
  }
  const CueTrackPosition& position = positions.front();
  std::array<uint8_t, 4 * kMaxScalarBytes> inner;  // only coded bytes are used
  size_t inner_size = position.cue_track.Encode(inner.data());
  inner_size += position.cue_cluster_position.Encode(inner.data() + inner_size);
  inner_size += position.cue_block_number.Encode(inner.data() + inner_size);
  inner_size += position.cue_codec_state.Encode(inner.data() + inner_size);
  std::array<uint8_t, kMaxScalarBytes> time;
  const size_t time_size = cue_time.Encode(time.data());

  const uint64_t payload = time_size + position.HeaderSize(inner_size) + inner_size;
  uint8_t* out = image.Reserve(2 * kMaxHeaderBytes + time_size + inner_size);
  size_t n = EncodeHeader(payload, out);
  std::memcpy(out + n, time.data(), time_size);
  n += time_size;
  n += position.EncodeHeader(inner_size, out + n);
  std::memcpy(out + n, inner.data(), inner_size);
  image.Commit(n + inner_size);
  return true;
}

Cue::Cue(uint32_t id) : CID(id) {}

void Cue::Add(const CuePoint& point) { ended_ = ended_ || !point.AppendTo(points_); }

int32_t Cue::Emit(kx::IStream& stream, const Extent& extent) const {
  WriteHeader(stream, extent.payload);
  points_.WriteTo(stream);
  return kx::kOk;
}

}  // namespace MatroskaWriter
