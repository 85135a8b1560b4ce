// What the single-stream entry points drive: one file with at most one video
// and one audio track. The handle the host holds is one of these.
#ifndef KX_MKV_SINGLE_STREAM_MUXER_H_
#define KX_MKV_SINGLE_STREAM_MUXER_H_

#include <cstdint>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_file_writer.h"

namespace kx {

class SingleStreamMuxer : public MatroskaFileWriter {
 public:
  // Opens the file and sets up the tracks; nothing is written yet. Returns 1,
  // or 0 when the file cannot be created.
  virtual int32_t Init(const char16_t* path, const MediaFileParams& params) = 0;
  // Bytes accepted; 0 when nothing was queued.
  virtual int32_t WriteVideoSample(const MediaSample& sample) = 0;
  virtual int32_t WriteAudioSample(const MediaSample& sample, const FrameSizeTable* frames) = 0;
  // `first` is the SPS / sequence header / HEVC parameter sets, `second` the PPS.
  virtual void SetVideoExtraData(const uint8_t* second, int32_t second_size, const uint8_t* first,
                                 int32_t first_size) = 0;
  virtual void SetAudioExtraData(const uint8_t* data, int32_t size) = 0;

 protected:
  using MatroskaFileWriter::MatroskaFileWriter;
};

}  // namespace kx

#endif  // KX_MKV_SINGLE_STREAM_MUXER_H_
