// The multi-stream Matroska / WebM muxer: the shared file writer with a
// track per announced video, audio and (Matroska only) text subtitle
// stream, numbered OutStreamIndex + 1.
#ifndef KX_MULTI_MULTI_MKV_MUXER_H_
#define KX_MULTI_MULTI_MKV_MUXER_H_

#include <cstdint>
#include <vector>

#include "src/mkv/matroska_file_writer.h"
#include "src/mkv/video_intake.h"
#include "src/multi/multi_muxer.h"

namespace kx {

class MultiMKVMuxer : public MatroskaFileWriter, public MultiMuxer {
 public:
  // `webm`: a WebM file, whose tracks write SimpleBlocks unless the video
  // carries block additions.
  explicit MultiMKVMuxer(bool webm);
  ~MultiMKVMuxer() override;

  // Makes the tracks of the announced streams and opens the file; nothing
  // is written before the first flush. False when the file cannot be opened.
  bool Init(uint32_t file_fourcc, const char16_t* file_name, uint64_t reserved) override;

  int32_t WriteAudioSample(uint32_t index, const MediaSample& sample,
                           const FrameSizeTable* frames) override;
  int32_t WriteVideoSample(uint32_t index, const MediaSample& sample) override;
  int32_t WriteExternalSubtitleSample(uint32_t index, const MediaSample& sample) override;
  void SetAudioExtraData(uint32_t index, const uint8_t* data, int32_t size) override;
  void SetVideoExtraData(uint32_t index, const uint8_t* second, int32_t second_size,
                         const uint8_t* first, int32_t first_size) override;
  void SetExternalSubtitleExtraData(uint32_t index, const uint8_t* data, int32_t size) override;
  void Close() override { MatroskaFileWriter::Close(); }

 protected:
  void FillEbmlHeader(MatroskaWriter::EBML& header) const override;
  [[nodiscard]] uint64_t ChooseCueTrack() const override;
  [[nodiscard]] int64_t ClosingDuration() const override { return max_end_time_; }

  // The first track with the index, whatever its type; null without one.
  [[nodiscard]] MatroskaStream* FindTrack(uint32_t index) const;
  // Passes `result` on; a write that queued something may flush.
  int32_t Queued(bool video, MatroskaStream& track, int32_t result);

 private:
  struct TrackRow {
    MatroskaStream* stream;
    uint32_t type;
    uint32_t out_index;
  };

  void MakeTrack(const MultiStreamEntry& entry);
  void RaiseMaxEndTime(const MediaSample& sample);

  const bool webm_;
  std::vector<TrackRow> track_map_;
  uint32_t video_fourcc_ = 0;  // of the last video stream: picks the video path
  VideoIntake video_intake_;
  int64_t max_end_time_ = 0;  // 100 ns: the latest start + duration received
};

}  // namespace kx

#endif  // KX_MULTI_MULTI_MKV_MUXER_H_
