// Placeholder until the multi-stream muxer lands: every call refuses.
#include "src/plugin/multi_stream_entry.h"

namespace kx {

void* CreateMediaFileMultiStream() { return nullptr; }
int32_t AddStreamInfoMultiStream(void*, int32_t, uint32_t, uint32_t, uint32_t,
                                 const MediaFileParams*) {
  return 1;
}
int32_t InitMediaFileMultiStream(void*, uint32_t, const char16_t*, uint64_t) { return 0; }
int32_t WriteSampleMultiStream(void*, uint32_t, const MediaSample*, const FrameSizeTable*) {
  return 0;
}
void CloseMediaFileMultiStream(void*) {}
void WriteExtraDataMultiStream(void*, uint32_t, const uint8_t*, int32_t) {}

}  // namespace kx
