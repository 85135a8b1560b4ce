// The seven functions of a FileFormat row (single-stream interface).
#ifndef KX_PLUGIN_SINGLE_STREAM_ENTRY_H_
#define KX_PLUGIN_SINGLE_STREAM_ENTRY_H_

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

void* CreateMediaFile(const char16_t* path, const MediaFileParams* params);
int32_t WriteAudioData(void* handle, const MediaSample* sample, const FrameSizeTable* frames);
int32_t WriteVideoData(void* handle, const MediaSample* sample);
int32_t CloseMediaFile(void* handle);
void WriteAudioExtraData(void* handle, const uint8_t* data, int32_t size);
void WriteVideoExtraData(void* handle, const uint8_t* second, int32_t secondSize,
                         const uint8_t* first, int32_t firstSize);
void SetDisplayAspectRatio(const AspectRatioRecord* record);

}  // namespace kx

#endif  // KX_PLUGIN_SINGLE_STREAM_ENTRY_H_
