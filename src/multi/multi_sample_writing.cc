// Samples of the multi-stream muxer: each is queued on the first track with
// its index; the queues are flushed together once both kinds have been seen.
#include <algorithm>

#include "src/mkv/mkv_muxer.h"
#include "src/mkv/sample_paths.h"
#include "src/mkv/time_units.h"
#include "src/multi/multi_mkv_muxer.h"

namespace kx {

void MultiMKVMuxer::RaiseMaxEndTime(const MediaSample& sample) {
  max_end_time_ = std::max(max_end_time_, SaturatingAdd(sample.start, sample.duration));
}

int32_t MultiMKVMuxer::Queued(bool video, MatroskaStream& track, int32_t result) {
  if (result >= 1) {
    FlushIfDue(video, track, kMatroskaFlushThreshold);
  }
  return result;
}

// Audio and subtitle samples count towards the Duration even without a
// track; video samples only with one.
int32_t MultiMKVMuxer::WriteAudioSample(uint32_t index, const MediaSample& sample,
                                        const FrameSizeTable* frames) {
  RaiseMaxEndTime(sample);
  MatroskaStream* track = FindTrack(index);
  return track == nullptr ? 0 : Queued(false, *track, AddAudioFrames(*track, sample, frames, 1));
}

// Subtitles count as the audio kind for the flush rule.
int32_t MultiMKVMuxer::WriteExternalSubtitleSample(uint32_t index, const MediaSample& sample) {
  RaiseMaxEndTime(sample);
  MatroskaStream* track = FindTrack(index);
  if (track == nullptr) {
    return 0;
  }
  return Queued(false, *track,
                track->AddFrame(sample.subtitleData, sample.subtitleSize, sample.start,
                                FrameEnd(sample.start, sample.duration), 1));
}

int32_t MultiMKVMuxer::WriteVideoSample(uint32_t index, const MediaSample& sample) {
  MatroskaStream* track = FindTrack(index);
  if (track == nullptr) {
    return 0;
  }
  RaiseMaxEndTime(sample);
  return Queued(true, *track, video_intake_.Add(*track, sample, video_fourcc_, true));
}

}  // namespace kx
