#include "tools/kxmux/stream_selection.h"

extern "C" {
#include <libavutil/mathematics.h>
}

#include <algorithm>
#include <climits>
#include <cstdio>
#include <vector>

namespace kxmux {
namespace {

std::string Quoted(uint32_t fourcc) { return "'" + FourccText(fourcc) + "'"; }

std::string JoinFourccs(const std::vector<uint32_t>& fourccs) {
  std::string text;
  for (uint32_t fourcc : fourccs) {
    if (!text.empty()) {
      text += ", ";
    }
    text += Quoted(fourcc);
  }
  return text.empty() ? "none" : text;
}

// Picks the module FourCC for a stream: the user's choice when it fits the
// codec, else the first FourCC of the codec that the row lists. Without
// --any-codec the row must list the FourCC, as in the conversion host.
std::optional<uint32_t> ChooseFourcc(Codec codec, std::optional<uint32_t> wanted,
                                     const RowCodecs& row, bool any_codec, bool quiet,
                                     std::string* error) {
  const std::vector<uint32_t>& candidates = FourccsFor(codec);
  if (IsSubtitle(codec)) {
    return candidates.front();
  }
  const bool video = IsVideo(codec);
  const char* kind = video ? "video" : "audio";
  const CodecList* listed = video ? row.video : row.audio;
  const std::string listing = " (the " + RowName(row.fourcc) + " row lists " +
                              JoinFourccs(CodecListEntries(listed)) +
                              "); --any-codec writes it anyway";
  if (wanted) {
    if (std::find(candidates.begin(), candidates.end(), *wanted) == candidates.end()) {
      *error = "FourCC " + Quoted(*wanted) + " does not fit the input's " + CodecName(codec) + " " +
               kind + " (it can go in as " + JoinFourccs(candidates) + ")";
      return std::nullopt;
    }
    if (!any_codec && !CodecListHas(listed, *wanted)) {
      *error = "the " + RowName(row.fourcc) + " row does not accept " + kind + " FourCC " +
               Quoted(*wanted) + listing;
      return std::nullopt;
    }
    return wanted;
  }
  if (any_codec) {
    return candidates.front();
  }
  for (uint32_t fourcc : candidates) {
    if (!CodecListHas(listed, fourcc)) {
      continue;
    }
    if (fourcc != candidates.front() && !quiet) {
      std::fprintf(stderr, "kxmux: note: %s %s goes in as %s (the %s row does not list %s)\n",
                   CodecName(codec), kind, Quoted(fourcc).c_str(), RowName(row.fourcc).c_str(),
                   Quoted(candidates.front()).c_str());
    }
    return fourcc;
  }
  *error = "the " + RowName(row.fourcc) + " row accepts no FourCC for " + CodecName(codec) + " " +
           kind + listing;
  return std::nullopt;
}

}  // namespace

std::string RowName(uint32_t fourcc) {
  std::string name = FourccText(fourcc);
  while (!name.empty() && name.back() == ' ') {
    name.pop_back();
  }
  return name;
}

std::optional<Codec> CodecFromAv(AVCodecID id) {
  switch (id) {
    case AV_CODEC_ID_H264:
      return Codec::kH264;
    case AV_CODEC_ID_HEVC:
      return Codec::kHevc;
    case AV_CODEC_ID_MPEG1VIDEO:
      return Codec::kMpeg1Video;
    case AV_CODEC_ID_MPEG2VIDEO:
      return Codec::kMpeg2Video;
    case AV_CODEC_ID_MPEG4:
      return Codec::kMpeg4Part2;
    case AV_CODEC_ID_VP8:
      return Codec::kVp8;
    case AV_CODEC_ID_VP9:
      return Codec::kVp9;
    case AV_CODEC_ID_AV1:
      return Codec::kAv1;
    case AV_CODEC_ID_AAC:
      return Codec::kAac;
    case AV_CODEC_ID_MP3:
      return Codec::kMp3;
    case AV_CODEC_ID_MP2:
      return Codec::kMp2;
    case AV_CODEC_ID_AC3:
      return Codec::kAc3;
    case AV_CODEC_ID_DTS:
      return Codec::kDts;
    // The module writes PCM as A_PCM/INT/LIT: little-endian integers, signed
    // except at 8 bits.
    case AV_CODEC_ID_PCM_U8:
    case AV_CODEC_ID_PCM_S16LE:
    case AV_CODEC_ID_PCM_S24LE:
    case AV_CODEC_ID_PCM_S32LE:
      return Codec::kPcm;
    case AV_CODEC_ID_VORBIS:
      return Codec::kVorbis;
    case AV_CODEC_ID_OPUS:
      return Codec::kOpus;
    case AV_CODEC_ID_SUBRIP:
    case AV_CODEC_ID_TEXT:
      return Codec::kSubrip;
    case AV_CODEC_ID_ASS:
      return Codec::kAss;
    case AV_CODEC_ID_SSA:
      return Codec::kSsa;
    default:
      return std::nullopt;
  }
}

bool SetUpTrack(AVFormatContext* input, AVStream* stream, std::optional<uint32_t> wanted,
                const RowCodecs& row, bool any_codec, bool quiet, bool multi, Track* track,
                std::string* error) {
  const AVCodecParameters& par = *stream->codecpar;
  const bool video = par.codec_type == AVMEDIA_TYPE_VIDEO;
  const auto codec = CodecFromAv(par.codec_id);
  if (!codec) {
    *error = std::string("the input's ") + av_get_media_type_string(par.codec_type) + " codec '" +
             avcodec_get_name(par.codec_id) + "' has no FourCC in the module (leave it out with " +
             (video ? "--no-video" : "--no-audio") + ")";
    return false;
  }
  const auto fourcc = ChooseFourcc(*codec, wanted, row, any_codec, quiet, error);
  if (!fourcc) {
    return false;
  }
  // The single-stream WebM muxer knows no AV1: it writes the VFW fallback,
  // which players do not take for AV1 (the MKV row and the multi-stream WEBM
  // row write V_AV1).
  if (*codec == Codec::kAv1 && row.fourcc == kFormatWebm && !multi && !quiet) {
    std::fprintf(stderr,
                 "kxmux: warning: the WEBM row writes AV1 as V_MS/VFW/FOURCC, which players do "
                 "not recognise as AV1; the MKV row writes V_AV1\n");
  }

  track->stream = stream;
  track->codec = *codec;
  track->fourcc = *fourcc;
  track->kind = video ? Kind::kVideo : IsSubtitle(*codec) ? Kind::kSubtitle : Kind::kAudio;
  track->framing = FramingFor(*codec, *fourcc, row.fourcc, multi);
  if (video) {
    const AVRational rate = av_guess_frame_rate(input, stream, nullptr);
    if (rate.num > 0 && rate.den > 0) {
      track->default_duration = av_rescale_q(1, av_inv_q(rate), kHostTimeBase);
    }
  } else if (par.frame_size > 0 && par.sample_rate > 0) {
    track->default_duration = av_rescale(par.frame_size, kHostUnitsPerSecond, par.sample_rate);
  }

  // ADTS-framed AAC (MPEG-TS, raw .aac) has no configuration record; the
  // bitstream filter strips the headers and derives the record from them.
  if (*codec == Codec::kAac && par.extradata_size == 0) {
    AVBSFContext* context = nullptr;
    const AVBitStreamFilter* filter = av_bsf_get_by_name("aac_adtstoasc");
    if (filter == nullptr || av_bsf_alloc(filter, &context) < 0) {
      *error = "cannot set up the ADTS to raw AAC conversion";
      return false;
    }
    track->adts_to_raw.reset(context);
    if (avcodec_parameters_copy(context->par_in, &par) < 0) {
      *error = "cannot set up the ADTS to raw AAC conversion";
      return false;
    }
    context->time_base_in = stream->time_base;
    const int ret = av_bsf_init(context);
    if (ret < 0) {
      *error = "cannot set up the ADTS to raw AAC conversion: " + AvErrorText(ret);
      return false;
    }
  }
  return true;
}

// Queues a packet of the track for interleaving, through the ADTS conversion
// when the track has one (a null packet drains the conversion at the end).
bool Enqueue(Track* track, PacketPtr packet, std::string* error) {
  const auto push = [track](PacketPtr p) {
    const AVRational tb = track->stream->time_base;
    const int64_t time = p->dts != AV_NOPTS_VALUE   ? av_rescale_q(p->dts, tb, kHostTimeBase)
                         : p->pts != AV_NOPTS_VALUE ? av_rescale_q(p->pts, tb, kHostTimeBase)
                         : track->queue.empty()     ? INT64_MIN
                                                    : track->queue.back().first;
    track->queue.emplace_back(time, std::move(p));
  };
  if (!track->adts_to_raw) {
    push(std::move(packet));
    return true;
  }
  AVBSFContext* filter = track->adts_to_raw.get();
  int ret = av_bsf_send_packet(filter, packet.get());  // null at the end of the input
  if (ret < 0) {
    *error = "cannot convert the ADTS AAC stream: " + AvErrorText(ret);
    return false;
  }
  for (;;) {
    PacketPtr out(av_packet_alloc());
    if (!out) {
      *error = "out of memory";
      return false;
    }
    ret = av_bsf_receive_packet(filter, out.get());
    if (ret == AVERROR(EAGAIN) || ret == AVERROR_EOF) {
      return true;
    }
    if (ret < 0) {
      *error = "cannot convert the ADTS AAC stream: " + AvErrorText(ret);
      return false;
    }
    push(std::move(out));
  }
}

}  // namespace kxmux
