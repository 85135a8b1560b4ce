#include "src/multi/multi_muxer.h"

#include "src/codec/fourcc.h"

namespace kx {

MultiMuxer::~MultiMuxer() = default;

int32_t MultiMuxer::AddStreamInfo(uint32_t type, uint32_t programid, uint32_t in_index,
                                  uint32_t out_index, const MediaFileParams& params) {
  AddStream(streams_, type, programid, in_index, out_index, params);
  const VideoParams& video = params.video;
  if (type == kStreamVideo && (video.fourcc == FourCC("VP8 ") || video.fourcc == FourCC("VP9 ")) &&
      (video.flags & 1) != 0) {
    additions_mode_ = video.lightPacingOrAdditionsMode;
  }
  return 1;
}

bool MultiMuxer::Init(uint32_t /*file_fourcc*/, const char16_t* /*file_name*/,
                      uint64_t /*reserved*/) {
  return !streams_.empty();
}

int32_t MultiMuxer::WriteSample(uint32_t index, const MediaSample* sample,
                                const FrameSizeTable* frames) {
  return DispatchSample(streams_, *this, index, sample, frames);
}

void MultiMuxer::WriteExtraData(uint32_t index, const uint8_t* data, int32_t size) {
  DispatchExtraData(streams_, *this, index, data, size);
}

}  // namespace kx
