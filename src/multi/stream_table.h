// The streams a host announces for a multi-stream file, and the routing of
// samples and length-prefixed extra data to them by OutStreamIndex.
#ifndef KX_MULTI_STREAM_TABLE_H_
#define KX_MULTI_STREAM_TABLE_H_

#include <cstdint>
#include <memory>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

class MultiMuxer;

enum MultiStreamType : uint32_t {
  kStreamVideo = KX_STREAM_VIDEO,
  kStreamAudio = KX_STREAM_AUDIO,
  kStreamSubpicInternal = KX_STREAM_SUBPIC_INTERNAL,
  kStreamSubpicExternal = KX_STREAM_SUBPIC_EXTERNAL,
};

struct MultiStreamEntry {
  std::unique_ptr<const MediaFileParams> info;  // the host's record, copied whole
  uint32_t type = 0;
  uint32_t programid = 0;
  uint32_t InStreamindex = 0;
  uint32_t OutStreamIndex = 0;
};

using StreamTable = std::vector<MultiStreamEntry>;

// Appends an entry holding a copy of `params`.
void AddStream(StreamTable& table, uint32_t type, uint32_t programid, uint32_t in_index,
               uint32_t out_index, const MediaFileParams& params);

// Hands the sample to the operation of every entry with the index, in table
// order; returns the last operation's result, 0 when none matched. Types
// outside 2 to 5 are passed over.
int32_t DispatchSample(const StreamTable& table, MultiMuxer& muxer, uint32_t index,
                       const MediaSample* sample, const FrameSizeTable* frames);

// Splits the extra data by the layout of the first entry with the index and
// a type from 2 to 5, and hands the blocks to that type's operation. Data
// too short for a block gives a null block; a block whose stated length
// runs past `size` makes the whole call refused and logged, so that nothing
// past the data is read and no cut configuration is stored.
void DispatchExtraData(const StreamTable& table, MultiMuxer& muxer, uint32_t index,
                       const uint8_t* data, int32_t size);

}  // namespace kx

#endif  // KX_MULTI_STREAM_TABLE_H_
