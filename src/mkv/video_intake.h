// How a host video sample becomes frames of a track: the path is chosen by
// the video FourCC, and whether H.264 input carries start codes is learnt
// from the first sample. Shared by the single- and multi-stream muxers.
#ifndef KX_MKV_VIDEO_INTAKE_H_
#define KX_MKV_VIDEO_INTAKE_H_

#include <cstdint>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

class VideoIntake {
 public:
  // Makes the first sample decide whether the input is Annex B, to be
  // converted to length prefixes ("H264" and its kin).
  void EnableStartCodeCheck();

  // Queues the sample on `track` by the path of `fourcc`; `compact_w264`
  // gives "W264" its in-place compacting path (multi-stream files only).
  // The sample's block additions go along; the track keeps them only when
  // it carries additions. Returns the bytes queued.
  int32_t Add(MatroskaStream& track, const MediaSample& sample, uint32_t fourcc, bool compact_w264);

 private:
  bool first_sample_ = true;
  bool start_code_check_ = false;
  bool annex_b_input_ = false;
  std::vector<uint8_t> conversion_buffer_;
};

}  // namespace kx

#endif  // KX_MKV_VIDEO_INTAKE_H_
