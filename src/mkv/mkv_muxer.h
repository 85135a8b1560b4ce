// The single-stream Matroska muxer: a video track numbered 2 and an audio
// track numbered 3, BlockGroups on a 300 ms cluster grid.
#ifndef KX_MKV_MKV_MUXER_H_
#define KX_MKV_MKV_MUXER_H_

#include <cstdint>
#include <memory>

#include "src/mkv/processor_pacing.h"
#include "src/mkv/single_stream_muxer.h"
#include "src/mkv/video_intake.h"

namespace kx {

// The display aspect ratio the host announced before creating the file.
struct DisplayAspect {
  int32_t numerator = 0;
  int32_t denominator = 0;
};

class MKVMuxer : public SingleStreamMuxer {
 public:
  explicit MKVMuxer(DisplayAspect aspect = {});
  ~MKVMuxer() override;

  int32_t Init(const char16_t* path, const MediaFileParams& params) override;
  int32_t WriteVideoSample(const MediaSample& sample) override;

 protected:
  void FillEbmlHeader(MatroskaWriter::EBML& header) const override;
  std::unique_ptr<MatroskaStream> MakeVideoTrack(const VideoParams& video) override;
  std::unique_ptr<MatroskaStream> MakeAudioTrack(const AudioParams& audio) override;

 private:
  const DisplayAspect aspect_;
  VideoIntake video_intake_;
  ProcessorPacing pacing_;
};

// Blocks a track queues before a flush, once both kinds have been seen.
inline constexpr size_t kMatroskaFlushThreshold = 5;

}  // namespace kx

#endif  // KX_MKV_MKV_MUXER_H_
