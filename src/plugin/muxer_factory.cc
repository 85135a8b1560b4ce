#include "src/plugin/muxer_factory.h"

#include <new>

#include "src/mkv/codec_ids.h"
#include "src/mkv/hevc_mkv_muxer.h"

namespace kx {

std::unique_ptr<SingleStreamMuxer> MakeSingleStreamMuxer(const MediaFileParams& params,
                                                         DisplayAspect aspect) {
  // The WebM muxer for the "WEBM" container plugs in here; until it exists
  // MKVMuxer writes those files too.
  try {
    if (IsHevcFourCC(params.video.fourcc)) {
      return std::make_unique<HevcMKVMuxer>(aspect);
    }
    return std::make_unique<MKVMuxer>(aspect);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace kx
