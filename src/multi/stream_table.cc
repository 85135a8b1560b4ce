#include "src/multi/stream_table.h"

#include "host/yr_log.h"
#include "src/multi/multi_muxer.h"

namespace kx {
namespace {

uint32_t ReadLe32(const uint8_t* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

struct Block {
  const uint8_t* data = nullptr;
  int32_t size = 0;
};

// The block whose 4-byte length sits at `offset`, when `size` is above
// `offset + 4`; a null block otherwise. False when its length runs past
// `size`.
bool ReadBlock(const uint8_t* data, int64_t size, int64_t offset, Block* block) {
  *block = Block{};
  if (data == nullptr || size <= offset + 4) {
    return true;
  }
  const uint32_t length = ReadLe32(data + offset);
  if (length > size - offset - 4) {
    return false;
  }
  *block = Block{data + offset + 4, static_cast<int32_t>(length)};
  return true;
}

void LogRefused(uint32_t index, int32_t size) {
  HostLogFormat(
      u"kx_%ls: WriteExtraDataMultiStream,streamidx =[%d] a block length runs past "
      u"the %d bytes given, ignored \n",
      u"mkv", static_cast<int32_t>(index), size);
}

bool IsRoutedType(uint32_t type) { return type >= kStreamVideo && type <= kStreamSubpicExternal; }

}  // namespace

void AddStream(StreamTable& table, uint32_t type, uint32_t programid, uint32_t in_index,
               uint32_t out_index, const MediaFileParams& params) {
  table.push_back(MultiStreamEntry{std::make_unique<const MediaFileParams>(params), type, programid,
                                   in_index, out_index});
}

int32_t DispatchSample(const StreamTable& table, MultiMuxer& muxer, uint32_t index,
                       const MediaSample* sample, const FrameSizeTable* frames) {
  int32_t result = 0;
  if (sample == nullptr) {
    return result;
  }
  for (const MultiStreamEntry& entry : table) {
    if (entry.OutStreamIndex != index) {
      continue;
    }
    switch (entry.type) {
      case kStreamAudio:
        result = muxer.WriteAudioSample(index, *sample, frames);
        break;
      case kStreamVideo:
        result = muxer.WriteVideoSample(index, *sample);
        break;
      case kStreamSubpicInternal:
        result = muxer.WriteInternalSubtitleSample(index, *sample);
        break;
      case kStreamSubpicExternal:
        result = muxer.WriteExternalSubtitleSample(index, *sample);
        break;
      default:
        break;
    }
  }
  return result;
}

void DispatchExtraData(const StreamTable& table, MultiMuxer& muxer, uint32_t index,
                       const uint8_t* data, int32_t size) {
  for (const MultiStreamEntry& entry : table) {
    if (entry.OutStreamIndex != index || !IsRoutedType(entry.type)) {
      continue;
    }
    Block first;
    Block second;
    bool fits = ReadBlock(data, size, 0, &first);
    if (entry.type == kStreamVideo) {
      // length1, block1, length2, block2; the second length follows the
      // first block.
      fits = fits && ReadBlock(data, size, 4 + static_cast<int64_t>(first.size), &second);
    }
    if (!fits) {
      LogRefused(index, size);
      return;
    }
    switch (entry.type) {
      case kStreamVideo:
        muxer.SetVideoExtraData(index, second.data, second.size, first.data, first.size);
        break;
      case kStreamAudio:
        muxer.SetAudioExtraData(index, first.data, first.size);
        break;
      case kStreamSubpicInternal:
        muxer.SetInternalSubtitleExtraData(index, first.data, first.size);
        break;
      default:
        muxer.SetExternalSubtitleExtraData(index, first.data, first.size);
        break;
    }
    return;
  }
}

}  // namespace kx
