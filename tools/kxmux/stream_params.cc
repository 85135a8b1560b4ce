// The host records kxmux fills from the input's streams.
#include <algorithm>
#include <climits>
#include <iterator>
#include <memory>

extern "C" {
#include <libavutil/dict.h>
#include <libavutil/rational.h>
}

#include "src/platform/utf16.h"
#include "tools/kxmux/output.h"

namespace kxmux {
namespace {

// The stream's language tag into a fixed UTF-16 field of `size` units,
// always NUL-ended.
void CopyLanguage(const AVStream* stream, char16_t* field, size_t size) {
  if (const AVDictionaryEntry* language = av_dict_get(stream->metadata, "language", nullptr, 0)) {
    const std::u16string text = kx::platform::Utf8ToUtf16(language->value);
    std::copy_n(text.begin(), std::min(text.size(), size - 1), field);
  }
}

int32_t BitRate(const AVCodecParameters& par) {
  return static_cast<int32_t>(std::min<int64_t>(par.bit_rate, INT32_MAX));
}

}  // namespace

std::optional<std::pair<int, int>> DisplayAspect(AVFormatContext* input, const Track& video) {
  const AVCodecParameters& par = *video.stream->codecpar;
  const AVRational sar = av_guess_sample_aspect_ratio(input, video.stream, nullptr);
  if (sar.num <= 0 || sar.den <= 0 || par.width <= 0 || par.height <= 0) {
    return std::nullopt;
  }
  int numerator = 0;
  int denominator = 0;
  av_reduce(&numerator, &denominator, static_cast<int64_t>(par.width) * sar.num,
            static_cast<int64_t>(par.height) * sar.den, INT32_MAX);
  return std::make_pair(numerator, denominator);
}

std::unique_ptr<MediaFileParams> MakeParams(uint32_t container, AVFormatContext* input,
                                            const Track* video, const Track* audio,
                                            const Track* subtitle) {
  auto params = std::make_unique<MediaFileParams>();  // value-initialised: all zero
  params->containerFourcc = container;
  params->noVideo = video == nullptr ? 1 : 0;
  params->noAudio = audio == nullptr ? 1 : 0;
  params->noSubtitle = subtitle == nullptr ? 1 : 0;
  if (video != nullptr) {
    const AVCodecParameters& par = *video->stream->codecpar;
    VideoParams& v = params->video;
    v.fourcc = video->fourcc;
    v.width = par.width;
    v.height = par.height;
    const AVRational rate = av_guess_frame_rate(input, video->stream, nullptr);
    // The module divides by the frame rate; an unknown rate gets the
    // common 25 rather than a division by zero.
    v.frameRate = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 25.0;
    v.bitRate = BitRate(par);
    v.bitCount = 24;
  }
  if (audio != nullptr) {
    const AVCodecParameters& par = *audio->stream->codecpar;
    AudioParams& a = params->audio;
    a.fourcc = audio->fourcc;
    a.sampleRate = par.sample_rate;
    a.channels = par.ch_layout.nb_channels;
    a.bitRate = BitRate(par);
    // BitDepth is written for every audio track; compressed audio has no
    // sample size of its own, and 16 is what decoders deliver by default.
    if (audio->codec == Codec::kPcm) {
      a.bitsPerSample = av_get_bits_per_sample(par.codec_id);
    } else {
      a.bitsPerSample = par.bits_per_raw_sample > 0 ? par.bits_per_raw_sample : 16;
    }
    CopyLanguage(audio->stream, a.language, std::size(a.language));
  }
  if (subtitle != nullptr) {
    params->subtitle.fourcc = subtitle->fourcc;
    CopyLanguage(subtitle->stream, params->subtitle.language, std::size(params->subtitle.language));
  }
  return params;
}

}  // namespace kxmux
