// What the single-stream entry points drive: one file with at most one video
// and one audio track. The handle the host holds is one of these. The
// Matroska and WebM muxers share the track bookkeeping, the audio path, the
// configuration data and the flush rule; they differ in the numbers given to
// the constructor, the track setups and the video path.
#ifndef KX_MKV_SINGLE_STREAM_MUXER_H_
#define KX_MKV_SINGLE_STREAM_MUXER_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_file_writer.h"
#include "src/mkv/video_intake.h"

namespace kx {

class SingleStreamMuxer : public MatroskaFileWriter {
 public:
  // Opens the file and sets up the tracks; nothing is written yet. Returns 1,
  // or 0 when the file cannot be created.
  virtual int32_t Init(const char16_t* path, const MediaFileParams& params);
  // Bytes accepted; 0 when nothing was queued.
  virtual int32_t WriteVideoSample(const MediaSample& sample) = 0;
  int32_t WriteAudioSample(const MediaSample& sample, const FrameSizeTable* frames);
  // `first` is the SPS / sequence header / HEVC parameter sets, `second` the PPS.
  virtual void SetVideoExtraData(const uint8_t* second, int32_t second_size, const uint8_t* first,
                                 int32_t first_size);
  // Taken for "A_AAC", "A_VORBIS" and "A_OPUS" tracks, on the WEBM row too
  // (browsers play Opus only with its OpusHead); ignored otherwise.
  void SetAudioExtraData(const uint8_t* data, int32_t size);

 protected:
  struct Rules {
    int64_t cluster_span_ms;
    // Blocks a track queues before a flush, once both kinds have been seen.
    size_t flush_threshold;
    // Key flag of the audio frames split by a FrameSizeTable.
    int32_t table_frame_key;
  };
  explicit SingleStreamMuxer(const Rules& rules);

  // A set-up track for the parameters, or null to leave the kind out.
  virtual std::unique_ptr<MatroskaStream> MakeVideoTrack(const VideoParams& video) = 0;
  virtual std::unique_ptr<MatroskaStream> MakeAudioTrack(const AudioParams& audio) = 0;

  // Queues a video sample through `intake` on the video track and flushes
  // when due; the bytes queued, 0 without a video track.
  int32_t QueueVideoSample(VideoIntake& intake, const MediaSample& sample);

  [[nodiscard]] uint64_t ChooseCueTrack() const override;
  [[nodiscard]] int64_t ClosingDuration() const override { return audio_duration_sum_; }

  [[nodiscard]] MatroskaStream* video_track() const { return video_track_; }
  [[nodiscard]] MatroskaStream* audio_track() const { return audio_track_; }
  [[nodiscard]] const VideoParams& video_params() const { return video_params_; }

 private:
  const Rules rules_;
  MatroskaStream* video_track_ = nullptr;
  MatroskaStream* audio_track_ = nullptr;
  VideoParams video_params_{};
  int64_t audio_duration_sum_ = 0;
};

}  // namespace kx

#endif  // KX_MKV_SINGLE_STREAM_MUXER_H_
