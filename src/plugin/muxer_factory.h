// Which muxer serves a file of the single-stream interface.
#ifndef KX_PLUGIN_MUXER_FACTORY_H_
#define KX_PLUGIN_MUXER_FACTORY_H_

#include <memory>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/mkv_muxer.h"

namespace kx {

// "WEBM" files get the WebM muxer, HEVC video the HEVC muxer, everything
// else MKVMuxer. Null when the object cannot be allocated.
std::unique_ptr<SingleStreamMuxer> MakeSingleStreamMuxer(const MediaFileParams& params,
                                                         DisplayAspect aspect);

}  // namespace kx

#endif  // KX_PLUGIN_MUXER_FACTORY_H_
