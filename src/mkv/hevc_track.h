// HEVC into a Matroska track, shared by the single- and multi-stream HEVC
// muxers: Annex B samples become length-prefixed NAL units without parameter
// sets, and the parameter sets become the hvcC record in CodecPrivate.
#ifndef KX_MKV_HEVC_TRACK_H_
#define KX_MKV_HEVC_TRACK_H_

#include <cstdint>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

// The record is written into a fixed 1024-byte CodecPrivate, so the Tracks
// element keeps its size whenever the parameter sets arrive.
inline constexpr uint32_t kHevcCodecPrivateSize = 1024;

// Reframes the video sample into `buffer` and queues it as one frame; the
// key flag follows the last unit kept. Returns the bytes queued (0 for a
// sample without start codes or with parameter sets only).
int32_t AddHevcSample(MatroskaStream& track, const MediaSample& sample,
                      std::vector<uint8_t>& buffer);

// For an HEVC track: CodecPrivate becomes 1024 zero bytes holding the hvcC
// record built from `first` (VPS, SPS, PPS in Annex B form). Returns false,
// after logging, when no record could be built; true otherwise, also for a
// track of another codec, which is left as it is.
bool StoreHevcConfiguration(MatroskaStream& track, const uint8_t* first, int32_t first_size);

}  // namespace kx

#endif  // KX_MKV_HEVC_TRACK_H_
