#include "src/mkv/track_setup.h"

#include <cmath>
#include <numeric>

#include "src/mkv/codec_ids.h"
#include "src/mkv/codec_private.h"

namespace kx {

uint64_t AbsoluteHeight(const VideoParams& video) {
  return static_cast<uint64_t>(std::llabs(static_cast<int64_t>(video.height)));
}

void SetDefaultDurationAndPixels(MatroskaWriter::TrackEntry& entry, const VideoParams& video) {
  // A frame rate of 0, below 0 or not a number has no frame duration: leave
  // DefaultDuration out rather than write a meaningless value.
  if (video.frameRate > 0) {
    const double nanoseconds = 1e9 / video.frameRate;
    if (nanoseconds < 18446744073709551615.0) {
      entry.default_duration.Set(static_cast<uint64_t>(nanoseconds));
    }
  }
  entry.video.pixel_width.Set(static_cast<uint64_t>(static_cast<int64_t>(video.width)));
  entry.video.pixel_height.Set(AbsoluteHeight(video));
}

void SetPixelDisplaySize(MatroskaWriter::TrackEntry& entry, const VideoParams& video) {
  entry.video.display_width.Set(static_cast<uint64_t>(static_cast<int64_t>(video.width)));
  entry.video.display_height.Set(AbsoluteHeight(video));
  entry.video.display_unit.Set(3);  // display aspect ratio
}

void SetVideoCodec(MatroskaWriter::TrackEntry& entry, const VideoParams& video,
                   std::string_view codec_id) {
  entry.codec_id.SetText(codec_id);
  if (codec_id == kVfwVideoCodecId) {
    const auto header = BitmapInfoHeader(video);
    entry.codec_private.Assign(header.data(), header.size());
  }
}

void SetAudioFields(MatroskaWriter::TrackEntry& entry, const AudioParams& audio,
                    std::string_view codec_id) {
  entry.audio.sampling_frequency.Set(static_cast<float>(audio.sampleRate));
  entry.audio.channels.Set(static_cast<uint64_t>(static_cast<int64_t>(audio.channels)));
  entry.audio.bit_depth.Set(static_cast<uint64_t>(static_cast<int64_t>(audio.bitsPerSample)));
  entry.codec_id.SetText(codec_id);
  if (codec_id == kVfwAudioCodecId) {
    const auto format = WaveFormatEx(audio);
    entry.codec_private.Assign(format.data(), format.size());
  }
}

int32_t SetupVideoTrack(MatroskaStream& stream, const VideoParams& video, uint32_t index) {
  stream.BeginSetup(static_cast<uint64_t>(index) + 1, kVideoTrackType);
  MatroskaWriter::TrackEntry& entry = stream.entry();
  SetDefaultDurationAndPixels(entry, video);
  entry.video.alpha_mode.Set(stream.has_additions() ? 1 : 0);
  const auto width = static_cast<int64_t>(video.width);
  const auto height = static_cast<int64_t>(AbsoluteHeight(video));
  if (stream.use_simple_block()) {
    SetPixelDisplaySize(entry, video);
  } else {
    int64_t display_width = width;
    int64_t display_height = height;
    if (width != 0 && height != 0) {
      const int64_t divisor = std::gcd(width, height);
      display_width /= divisor;
      display_height /= divisor;
    }
    if ((video.flags & 1) != 0 && video.aspectNumerator >= 1 && video.aspectDenominator >= 1) {
      display_width = video.aspectNumerator;
      display_height = video.aspectDenominator;
    }
    entry.video.display_width.Set(static_cast<uint64_t>(display_width));
    entry.video.display_height.Set(static_cast<uint64_t>(display_height));
    if (video.frameRate > 0) {
      entry.video.frame_rate.Set(static_cast<float>(video.frameRate));
    }
  }
  if (video.projection == 360) {
    entry.video.projection_switch = 1;
    if (video.stereoMode <= 2) {
      entry.video.stereo_mode.Set(video.stereoMode);
    }
  }
  SetVideoCodec(entry, video, MatroskaVideoCodecId(video.fourcc));
  return 0;
}

int32_t SetupAudioTrack(MatroskaStream& stream, const AudioParams& audio, uint32_t index) {
  stream.BeginSetup(static_cast<uint64_t>(index) + 1, kAudioTrackType);
  SetAudioFields(stream.entry(), audio, MatroskaAudioCodecId(audio.fourcc));
  return 0;
}

int32_t SetupSubtitleTrack(MatroskaStream& stream, const SubtitleParams& subtitle, uint32_t index) {
  const std::string_view codec_id = MatroskaSubtitleCodecId(subtitle.fourcc);
  if (codec_id.empty()) {
    return -1;
  }
  stream.BeginSetup(static_cast<uint64_t>(index) + 1, kSubtitleTrackType);
  stream.entry().codec_id.SetText(codec_id);
  return 0;
}

}  // namespace kx
