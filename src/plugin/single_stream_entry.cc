// Placeholder until the single-stream muxer lands: every call refuses.
#include "src/plugin/single_stream_entry.h"

namespace kx {

void* CreateMediaFile(const char16_t*, const MediaFileParams*) { return nullptr; }
int32_t WriteAudioData(void*, const MediaSample*, const FrameSizeTable*) { return 0; }
int32_t WriteVideoData(void*, const MediaSample*) { return 0; }
int32_t CloseMediaFile(void*) { return 0; }
void WriteAudioExtraData(void*, const uint8_t*, int32_t) {}
void WriteVideoExtraData(void*, const uint8_t*, int32_t, const uint8_t*, int32_t) {}
void SetDisplayAspectRatio(const AspectRatioRecord*) {}

}  // namespace kx
