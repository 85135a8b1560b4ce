#include "src/mkv/video_intake.h"

#include "src/codec/fourcc.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/sample_paths.h"
#include "src/mkv/time_units.h"

namespace kx {

void VideoIntake::EnableStartCodeCheck() {
  start_code_check_ = true;
  conversion_buffer_.clear();
}

int32_t VideoIntake::Add(MatroskaStream& track, const MediaSample& sample, uint32_t fourcc,
                         bool compact_w264) {
  uint8_t* data = sample.videoData;
  const int32_t size = sample.videoSize;
  if (first_sample_) {
    first_sample_ = false;
    annex_b_input_ = start_code_check_ && ContainsStartCode(data, size);
  }
  const int64_t end = FrameEnd(sample.start, sample.duration);
  if (IsNalUnitFourCC(fourcc)) {
    return AddNalUnitSlices(track, data, size, sample.start, end);
  }
  if (compact_w264 && fourcc == FourCC("W264")) {
    return AddCompactedSlices(track, data, size, sample.start, end, sample.keyframe);
  }
  if (annex_b_input_) {
    return AddAnnexBAsLengthPrefixed(track, data, size, sample.start, end, sample.keyframe,
                                     conversion_buffer_);
  }
  return track.AddFrame(data, size, sample.start, end, sample.keyframe, sample.additionalData,
                        static_cast<int32_t>(sample.additionalSize));
}

}  // namespace kx
