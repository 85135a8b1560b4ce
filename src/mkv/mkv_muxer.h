// The single-stream Matroska muxer: a video track numbered 2 and an audio
// track numbered 3, BlockGroups on a 300 ms cluster grid.
#ifndef KX_MKV_MKV_MUXER_H_
#define KX_MKV_MKV_MUXER_H_

#include <cstdint>
#include <vector>

#include "src/mkv/processor_pacing.h"
#include "src/mkv/single_stream_muxer.h"

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
  int32_t WriteAudioSample(const MediaSample& sample, const FrameSizeTable* frames) override;
  void SetVideoExtraData(const uint8_t* second, int32_t second_size, const uint8_t* first,
                         int32_t first_size) override;
  void SetAudioExtraData(const uint8_t* data, int32_t size) override;

 protected:
  void FillEbmlHeader(MatroskaWriter::EBML& header) const override;
  [[nodiscard]] uint64_t ChooseCueTrack() const override;
  [[nodiscard]] int64_t ClosingDuration() const override { return audio_duration_sum_; }

  // Runs the flush once the other kind has been seen and the written
  // track's queue holds `threshold` blocks or more.
  void FlushIfDue(bool video_written, const MatroskaStream& written, size_t threshold);

  [[nodiscard]] MatroskaStream* video_track() const { return video_track_; }
  [[nodiscard]] MatroskaStream* audio_track() const { return audio_track_; }
  [[nodiscard]] const VideoParams& video_params() const { return video_params_; }

 private:
  const DisplayAspect aspect_;
  MatroskaStream* video_track_ = nullptr;
  MatroskaStream* audio_track_ = nullptr;
  VideoParams video_params_{};
  int64_t audio_duration_sum_ = 0;
  bool first_video_sample_ = true;
  bool start_code_check_ = false;
  bool annex_b_input_ = false;
  std::vector<uint8_t> conversion_buffer_;
  ProcessorPacing pacing_;
};

// Blocks a track queues before a flush, once both kinds have been seen.
inline constexpr size_t kMatroskaFlushThreshold = 5;

}  // namespace kx

#endif  // KX_MKV_MKV_MUXER_H_
