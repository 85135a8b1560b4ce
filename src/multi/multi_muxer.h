// The interface the multi-stream entry points drive, and the base of every
// multi-stream muxer: it keeps the stream table and routes samples and extra
// data to the type-specific operations, which do nothing here.
#ifndef KX_MULTI_MULTI_MUXER_H_
#define KX_MULTI_MULTI_MUXER_H_

#include <cstdint>

#include "include/kx_mkv/kx_mkv.h"
#include "src/multi/stream_table.h"

namespace kx {

class MultiMuxer {
 public:
  MultiMuxer() = default;
  MultiMuxer(const MultiMuxer&) = delete;
  MultiMuxer& operator=(const MultiMuxer&) = delete;
  virtual ~MultiMuxer();

  virtual int32_t Reserved(uint64_t /*first*/, uint64_t /*second*/) { return 1; }
  // Appends a stream; a "VP8 " or "VP9 " video record with bit 0 of its
  // flags set also sets the additions mode. Returns 1.
  virtual int32_t AddStreamInfo(uint32_t type, uint32_t programid, uint32_t in_index,
                                uint32_t out_index, const MediaFileParams& params);
  // Here: true when at least one stream was announced.
  virtual bool Init(uint32_t file_fourcc, const char16_t* file_name, uint64_t reserved);
  int32_t WriteSample(uint32_t index, const MediaSample* sample, const FrameSizeTable* frames);
  void Finish() { Close(); }
  void WriteExtraData(uint32_t index, const uint8_t* data, int32_t size);

  virtual int32_t WriteAudioSample(uint32_t /*index*/, const MediaSample& /*sample*/,
                                   const FrameSizeTable* /*frames*/) {
    return 0;
  }
  virtual int32_t WriteVideoSample(uint32_t /*index*/, const MediaSample& /*sample*/) { return 0; }
  virtual int32_t WriteInternalSubtitleSample(uint32_t /*index*/, const MediaSample& /*sample*/) {
    return 0;
  }
  virtual int32_t WriteExternalSubtitleSample(uint32_t /*index*/, const MediaSample& /*sample*/) {
    return 0;
  }
  virtual void SetAudioExtraData(uint32_t /*index*/, const uint8_t* /*data*/, int32_t /*size*/) {}
  // `first` is the SPS / sequence header / HEVC parameter sets, `second` the PPS.
  virtual void SetVideoExtraData(uint32_t /*index*/, const uint8_t* /*second*/,
                                 int32_t /*second_size*/, const uint8_t* /*first*/,
                                 int32_t /*first_size*/) {}
  virtual void SetInternalSubtitleExtraData(uint32_t /*index*/, const uint8_t* /*data*/,
                                            int32_t /*size*/) {}
  virtual void SetExternalSubtitleExtraData(uint32_t /*index*/, const uint8_t* /*data*/,
                                            int32_t /*size*/) {}
  virtual void Close() {}

  [[nodiscard]] const StreamTable& streams() const { return streams_; }
  // Non-zero: video samples carry BlockAdditional data.
  [[nodiscard]] uint32_t additions_mode() const { return additions_mode_; }

 private:
  StreamTable streams_;
  uint32_t additions_mode_ = 0;
};

}  // namespace kx

#endif  // KX_MULTI_MULTI_MUXER_H_
