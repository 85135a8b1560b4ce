#include "src/plugin/muxer_factory.h"

#include <array>
#include <new>

#include "src/codec/fourcc.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/hevc_mkv_muxer.h"
#include "src/multi/multi_hevc_mkv_muxer.h"
#include "src/webm/webm_muxer.h"

namespace kx {

std::unique_ptr<SingleStreamMuxer> MakeSingleStreamMuxer(const MediaFileParams& params,
                                                         DisplayAspect aspect) {
  try {
    if (params.containerFourcc == FourCC("WEBM")) {
      return std::make_unique<WebmMuxer1>();
    }
    if (IsHevcFourCC(params.video.fourcc)) {
      return std::make_unique<HevcMKVMuxer>(aspect);
    }
    return std::make_unique<MKVMuxer>(aspect);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

std::shared_ptr<MultiMuxer> MakeMultiStreamMuxer(uint32_t file_fourcc, uint32_t video_fourcc) {
  // The multi-stream interface's HEVC FourCCs ("W265" but not "K265").
  constexpr std::array<uint32_t, 6> kHevc = {FourCC("I265"), FourCC("A265"), FourCC("E265"),
                                             FourCC("V265"), FourCC("W265"), FourCC("HEVC")};
  try {
    if (file_fourcc == FourCC("WEBM")) {
      return std::make_shared<MultiMKVMuxer>(true);
    }
    for (const uint32_t hevc : kHevc) {
      if (video_fourcc == hevc) {
        return std::make_shared<MultiHevcMKVMuxer>();
      }
    }
    return std::make_shared<MultiMKVMuxer>(false);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace kx
