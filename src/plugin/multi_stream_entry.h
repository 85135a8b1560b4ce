// The six functions of a FileMultiStreamFormat row (multi-stream interface).
#ifndef KX_PLUGIN_MULTI_STREAM_ENTRY_H_
#define KX_PLUGIN_MULTI_STREAM_ENTRY_H_

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

void* CreateMediaFileMultiStream();
int32_t AddStreamInfoMultiStream(void* handle, int32_t type, uint32_t programid,
                                 uint32_t InStreamindex, uint32_t OutStreamIndex,
                                 const MediaFileParams* params);
int32_t InitMediaFileMultiStream(void* handle, uint32_t fileFourCC, const char16_t* fileName,
                                 uint64_t reserved);
int32_t WriteSampleMultiStream(void* handle, uint32_t OutStreamIndex, const MediaSample* sample,
                               const FrameSizeTable* frames);
void CloseMediaFileMultiStream(void* handle);
void WriteExtraDataMultiStream(void* handle, uint32_t OutStreamIndex, const uint8_t* data,
                               int32_t size);

}  // namespace kx

#endif  // KX_PLUGIN_MULTI_STREAM_ENTRY_H_
