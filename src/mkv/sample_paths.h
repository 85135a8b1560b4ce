// How a host sample becomes frames of a track. Shared by the single-stream,
// WebM and multi-stream muxers.
#ifndef KX_MKV_SAMPLE_PATHS_H_
#define KX_MKV_SAMPLE_PATHS_H_

#include <cstdint>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

// NAL-unit path: units with 4-byte start codes; each slice (type 1 or 5)
// becomes its own frame after its start code is overwritten in place with
// its length; other units are dropped. Returns the bytes queued.
int32_t AddNalUnitSlices(MatroskaStream& track, uint8_t* data, int32_t size, int64_t start,
                         int64_t end);

// Compacting path ("W264"): the same units, rewritten in place; the slices
// move to the front of the buffer and become one frame, whose key flag is
// that of the last slice kept (`key` when none decides). Returns the bytes
// queued.
int32_t AddCompactedSlices(MatroskaStream& track, uint8_t* data, int32_t size, int64_t start,
                           int64_t end, int32_t key);

// Conversion path: Annex B in (3- or 4-byte start codes), one frame out in
// which slices, SPS, PPS and delimiters (types 1, 5, 7, 8, 9) carry 4-byte
// big-endian lengths. `buffer` is reused between samples.
int32_t AddAnnexBAsLengthPrefixed(MatroskaStream& track, const uint8_t* data, int32_t size,
                                  int64_t start, int64_t end, int32_t key,
                                  std::vector<uint8_t>& buffer);

// Whether the data holds a start code (00 00 01 or 00 00 00 01) beginning
// before its last four bytes.
bool ContainsStartCode(const uint8_t* data, int32_t size);

// Audio: one frame, or the frames of a FrameSizeTable spread evenly over the
// sample's duration, each with `table_key` as key flag. A table whose sizes
// run past the sample's bytes is refused whole (nothing queued).
int32_t AddAudioFrames(MatroskaStream& track, const MediaSample& sample,
                       const FrameSizeTable* table, int32_t table_key);

}  // namespace kx

#endif  // KX_MKV_SAMPLE_PATHS_H_
