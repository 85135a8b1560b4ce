// Which muxer serves a file of the single-stream interface.
#ifndef KX_PLUGIN_MUXER_FACTORY_H_
#define KX_PLUGIN_MUXER_FACTORY_H_

#include <memory>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/mkv_muxer.h"
#include "src/multi/multi_muxer.h"

namespace kx {

// "WEBM" files get the WebM muxer, HEVC video the HEVC muxer, everything
// else MKVMuxer. Null when the object cannot be allocated.
std::unique_ptr<SingleStreamMuxer> MakeSingleStreamMuxer(const MediaFileParams& params,
                                                         DisplayAspect aspect);

// The multi-stream muxer for a file: WebM files get MultiMKVMuxer in WebM
// mode, Matroska files with HEVC video (`video_fourcc`, that of the last
// video stream) MultiHevcMKVMuxer, the others MultiMKVMuxer. Null when the
// object cannot be allocated.
std::shared_ptr<MultiMuxer> MakeMultiStreamMuxer(uint32_t file_fourcc, uint32_t video_fourcc);

}  // namespace kx

#endif  // KX_PLUGIN_MUXER_FACTORY_H_
