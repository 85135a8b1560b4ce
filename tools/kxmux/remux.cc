#include "tools/kxmux/remux.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/dict.h>
#include <libavutil/mathematics.h>
#include <libavutil/rational.h>
}

#include <algorithm>
#include <climits>
#include <cstdio>
#include <deque>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "src/platform/utf16.h"
#include "tools/kxmux/codecs.h"
#include "tools/kxmux/ffmpeg_util.h"
#include "tools/kxmux/nal.h"
#include "tools/kxmux/progress.h"

namespace kxmux {
namespace {

// The host interface counts time in 100-ns units.
constexpr AVRational kHostTimeBase = {1, 10000000};
constexpr int64_t kHostUnitsPerSecond = 10000000;

// Packets waiting for the other stream before one of them is handed over.
// Beyond this many the earliest goes anyway, so that a stream that ends
// early (or has a long gap) cannot make kxmux hold the whole input.
constexpr size_t kMaxQueuedPackets = 1024;

// Start codes of an MPEG-4 Part 2 video object layer header.
constexpr uint8_t kMpeg4VolFirst = 0x20;
constexpr uint8_t kMpeg4VolLast = 0x2F;

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
    default:
      return std::nullopt;
  }
}

std::string RowName(const FileFormat& row) {
  std::string name = FourccText(row.fourcc);
  while (!name.empty() && name.back() == ' ') {
    name.pop_back();
  }
  return name;
}

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

int32_t ClampToInt32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, 0, INT32_MAX));
}

// Picks the module FourCC for a stream: the user's choice when it fits the
// codec, else the first FourCC of the codec that the row lists. Without
// --any-codec the row must list the FourCC, as in the conversion host.
std::optional<uint32_t> ChooseFourcc(Codec codec, std::optional<uint32_t> wanted,
                                     const FileFormat& row, bool any_codec, bool quiet,
                                     std::string* error) {
  const bool video = IsVideo(codec);
  const char* kind = video ? "video" : "audio";
  const CodecList* listed = video ? row.videoCodecs : row.audioCodecs;
  const std::vector<uint32_t>& candidates = FourccsFor(codec);
  const std::string listing = " (the " + RowName(row) + " row lists " +
                              JoinFourccs(CodecListEntries(listed)) +
                              "); --any-codec writes it anyway";
  if (wanted) {
    if (std::find(candidates.begin(), candidates.end(), *wanted) == candidates.end()) {
      *error = "FourCC " + Quoted(*wanted) + " does not fit the input's " + CodecName(codec) + " " +
               kind + " (it can go in as " + JoinFourccs(candidates) + ")";
      return std::nullopt;
    }
    if (!any_codec && !CodecListHas(listed, *wanted)) {
      *error = "the " + RowName(row) + " row does not accept " + kind + " FourCC " +
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
                   CodecName(codec), kind, Quoted(fourcc).c_str(), RowName(row).c_str(),
                   Quoted(candidates.front()).c_str());
    }
    return fourcc;
  }
  *error = "the " + RowName(row) + " row accepts no FourCC for " + CodecName(codec) + " " + kind +
           listing;
  return std::nullopt;
}

// One input stream that goes into the file.
struct Track {
  AVStream* stream = nullptr;
  Codec codec = Codec::kH264;
  uint32_t fourcc = 0;
  Framing framing = Framing::kAsIs;
  // H.264 and HEVC input: 0 = Annex B, 1 to 4 = length-prefixed with that
  // field size, -1 = not known until the first sample.
  int input_length_size = -1;
  bool extradata_sent = false;
  BsfPtr adts_to_raw;  // AAC in ADTS framing: strips the headers, yields the config
  std::deque<std::pair<int64_t, PacketPtr>> queue;  // keyed by decode time, 100-ns
  int64_t next_start = 0;                           // start of a sample that carries no time
  int64_t default_duration = 0;                     // for samples that carry no duration
  uint64_t offered = 0;
  uint64_t accepted = 0;
};

// The module's file handle; closing it finalises the file.
class OutputFile {
 public:
  OutputFile(const FileFormat* row, void* handle) : row_(row), handle_(handle) {}
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile() { Close(); }

  [[nodiscard]] void* handle() const { return handle_; }
  void Close() {
    if (handle_ != nullptr) {
      row_->CloseMediaFile(handle_);
    }
    handle_ = nullptr;
  }

 private:
  const FileFormat* row_;
  void* handle_;
};

class Remuxer {
 public:
  explicit Remuxer(const RemuxRequest& request)
      : request_(request), row_(*request.row), interrupted_(request.interrupted) {}

  RemuxStatus Run(std::string* error);

 private:
  bool OpenInput(std::string* error);
  bool ChooseTracks(std::string* error);
  bool SetUpTrack(AVStream* stream, std::optional<uint32_t> wanted, Track* track,
                  std::string* error);
  [[nodiscard]] std::unique_ptr<MediaFileParams> MakeParams() const;
  void SetAspectRatio() const;
  void SendInitialExtradata(Track* track);
  void SendVideoParameterSets(Track* track, const uint8_t* data, size_t size);
  void SendInBandParameterSets(Track* track, const std::vector<ByteView>& units);
  bool FlushFilters(std::string* error);
  Track* NextReady(bool input_ended);
  bool Emit(Track* track, std::string* error);
  bool WriteVideo(Track* track, const AVPacket& packet, int64_t start, int64_t duration,
                  std::string* error);
  bool WriteAudio(Track* track, const AVPacket& packet, int64_t start, int64_t duration);
  bool CheckAccepted(std::string* error) const;
  void Note(const std::string& text) const {
    if (!request_.quiet) {
      std::fprintf(stderr, "kxmux: note: %s\n", text.c_str());
    }
  }

  const RemuxRequest& request_;
  const FileFormat& row_;
  std::function<bool()> interrupted_;
  InputPtr input_;
  std::unique_ptr<Track> video_;
  std::unique_ptr<Track> audio_;
  std::unique_ptr<OutputFile> output_;
  std::vector<uint8_t> buffer_;
  std::optional<int64_t> first_start_;
};

// Lets an interrupt end a blocking read of the input (a pipe, a slow disk).
int InterruptCallback(void* opaque) {
  const auto* interrupted = static_cast<const std::function<bool()>*>(opaque);
  return *interrupted && (*interrupted)() ? 1 : 0;
}

bool Remuxer::OpenInput(std::string* error) {
  AVFormatContext* context = avformat_alloc_context();
  if (context == nullptr) {
    *error = "out of memory";
    return false;
  }
  context->interrupt_callback.callback = &InterruptCallback;
  context->interrupt_callback.opaque = &interrupted_;
  // On failure avformat_open_input frees the context itself.
  int ret = avformat_open_input(&context, request_.input.c_str(), nullptr, nullptr);
  if (ret < 0) {
    *error = "cannot open the input " + request_.input + ": " + AvErrorText(ret);
    return false;
  }
  input_.reset(context);
  ret = avformat_find_stream_info(input_.get(), nullptr);
  if (ret < 0) {
    *error = "cannot read the streams of " + request_.input + ": " + AvErrorText(ret);
    return false;
  }
  return true;
}

bool Remuxer::ChooseTracks(std::string* error) {
  AVFormatContext* context = input_.get();
  int video_index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  // Cover art is a still picture stored as a video stream, not video.
  if (video_index >= 0 &&
      (context->streams[video_index]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
    video_index = -1;
  }
  const int audio_index = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);

  if (video_index >= 0 && !request_.no_video) {
    if (row_.WriteVideoData == nullptr) {
      Note("the " + RowName(row_) + " row takes no video; the input's video is left out");
    } else {
      video_ = std::make_unique<Track>();
      if (!SetUpTrack(context->streams[video_index], request_.video_fourcc, video_.get(), error)) {
        return false;
      }
    }
  }
  if (audio_index >= 0 && !request_.no_audio) {
    audio_ = std::make_unique<Track>();
    if (!SetUpTrack(context->streams[audio_index], request_.audio_fourcc, audio_.get(), error)) {
      return false;
    }
  }
  if (!video_ && !audio_) {
    *error = "the input has no " + std::string(request_.no_video ? "" : "video or ") +
             "audio stream to write";
    return false;
  }
  if (request_.video_fourcc && !video_) {
    Note("--video-fourcc is unused: no video is written");
  }
  if (request_.audio_fourcc && !audio_) {
    Note("--audio-fourcc is unused: no audio is written");
  }
  return true;
}

bool Remuxer::SetUpTrack(AVStream* stream, std::optional<uint32_t> wanted, Track* track,
                         std::string* error) {
  const AVCodecParameters& par = *stream->codecpar;
  const bool video = par.codec_type == AVMEDIA_TYPE_VIDEO;
  const auto codec = CodecFromAv(par.codec_id);
  if (!codec) {
    *error = std::string("the input's ") + (video ? "video" : "audio") + " codec '" +
             avcodec_get_name(par.codec_id) + "' has no FourCC in the module (leave it out with " +
             (video ? "--no-video" : "--no-audio") + ")";
    return false;
  }
  const auto fourcc = ChooseFourcc(*codec, wanted, row_, request_.any_codec, request_.quiet, error);
  if (!fourcc) {
    return false;
  }

  track->stream = stream;
  track->codec = *codec;
  track->fourcc = *fourcc;
  track->framing = FramingFor(*codec, *fourcc, row_.fourcc);
  if (video) {
    const AVRational rate = av_guess_frame_rate(input_.get(), stream, nullptr);
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

std::unique_ptr<MediaFileParams> MakeParamsFor(const FileFormat& row, const Track* video,
                                               const Track* audio, AVFormatContext* input) {
  auto params = std::make_unique<MediaFileParams>();  // value-initialised: all zero
  params->containerFourcc = row.fourcc;
  params->noVideo = video == nullptr ? 1 : 0;
  params->noAudio = audio == nullptr ? 1 : 0;
  params->noSubtitle = 1;
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
    v.bitRate = static_cast<int32_t>(std::min<int64_t>(par.bit_rate, INT32_MAX));
    v.bitCount = 24;
  }
  if (audio != nullptr) {
    const AVCodecParameters& par = *audio->stream->codecpar;
    AudioParams& a = params->audio;
    a.fourcc = audio->fourcc;
    a.sampleRate = par.sample_rate;
    a.channels = par.ch_layout.nb_channels;
    a.bitRate = static_cast<int32_t>(std::min<int64_t>(par.bit_rate, INT32_MAX));
    // BitDepth is written for every audio track; compressed audio has no
    // sample size of its own, and 16 is what decoders deliver by default.
    if (audio->codec == Codec::kPcm) {
      a.bitsPerSample = av_get_bits_per_sample(par.codec_id);
    } else {
      a.bitsPerSample = par.bits_per_raw_sample > 0 ? par.bits_per_raw_sample : 16;
    }
    if (const AVDictionaryEntry* language =
            av_dict_get(audio->stream->metadata, "language", nullptr, 0)) {
      const std::u16string text = kx::platform::Utf8ToUtf16(language->value);
      const size_t room = sizeof a.language / sizeof a.language[0] - 1;
      std::copy_n(text.begin(), std::min(text.size(), room), a.language);
    }
  }
  return params;
}

std::unique_ptr<MediaFileParams> Remuxer::MakeParams() const {
  return MakeParamsFor(row_, video_.get(), audio_.get(), input_.get());
}

void Remuxer::SetAspectRatio() const {
  if (!video_ || row_.SetDisplayAspectRatio == nullptr) {
    return;
  }
  const AVCodecParameters& par = *video_->stream->codecpar;
  const AVRational sar = av_guess_sample_aspect_ratio(input_.get(), video_->stream, nullptr);
  if (sar.num <= 0 || sar.den <= 0 || par.width <= 0 || par.height <= 0) {
    return;
  }
  int numerator = 0;
  int denominator = 0;
  av_reduce(&numerator, &denominator, static_cast<int64_t>(par.width) * sar.num,
            static_cast<int64_t>(par.height) * sar.den, INT32_MAX);
  AspectRatioRecord record{};
  record.numerator = numerator;
  record.denominator = denominator;
  row_.SetDisplayAspectRatio(&record);
}

void Remuxer::SendVideoParameterSets(Track* track, const uint8_t* data, size_t size) {
  if (row_.WriteVideoExtraData == nullptr) {
    return;
  }
  void* handle = output_->handle();
  if (track->codec == Codec::kH264) {
    const auto config = ParseAvcExtradata(data, size);
    if (!config) {
      return;
    }
    if (track->input_length_size < 0) {
      track->input_length_size = config->length_size;
    }
    if (config->sps.empty() || config->pps.empty()) {
      return;
    }
    // The module's argument order: the second block (PPS) first.
    row_.WriteVideoExtraData(handle, config->pps.data(), static_cast<int32_t>(config->pps.size()),
                             config->sps.data(), static_cast<int32_t>(config->sps.size()));
    track->extradata_sent = true;
  } else if (track->codec == Codec::kHevc) {
    const auto config = ParseHevcExtradata(data, size);
    if (!config) {
      return;
    }
    if (track->input_length_size < 0) {
      track->input_length_size = config->length_size;
    }
    // Only VPS, SPS and PPS: the module builds its hvcC record in a fixed
    // 1024-byte CodecPrivate and refuses anything longer, and encoders' SEI
    // (x265 writes its whole option string) alone can exceed that.
    std::vector<ByteView> sets;
    for (const ByteView& unit : SplitAnnexB(config->annex_b.data(), config->annex_b.size())) {
      const int type = HevcNalType(unit);
      if (type >= kHevcVps && type <= kHevcPps) {
        sets.push_back(unit);
      }
    }
    if (sets.empty()) {
      return;
    }
    std::vector<uint8_t> annex_b;
    AppendAnnexB(sets, &annex_b);
    row_.WriteVideoExtraData(handle, nullptr, 0, annex_b.data(),
                             static_cast<int32_t>(annex_b.size()));
    track->extradata_sent = true;
  } else if (track->codec == Codec::kMpeg1Video || track->codec == Codec::kMpeg2Video) {
    row_.WriteVideoExtraData(handle, nullptr, 0, data, static_cast<int32_t>(size));
    track->extradata_sent = true;
  }
}

void Remuxer::SendInitialExtradata(Track* track) {
  const AVCodecParameters& par = *track->stream->codecpar;
  if (par.extradata == nullptr || par.extradata_size <= 0) {
    return;
  }
  const auto size = static_cast<size_t>(par.extradata_size);
  if (track == video_.get()) {
    SendVideoParameterSets(track, par.extradata, size);
    return;
  }
  if (track->codec == Codec::kAac || track->codec == Codec::kVorbis ||
      track->codec == Codec::kOpus) {
    // FFmpeg keeps these exactly as Matroska's CodecPrivate wants them: the
    // AudioSpecificConfig, the Xiph-laced Vorbis headers, the OpusHead.
    row_.WriteAudioExtraData(output_->handle(), par.extradata, par.extradata_size);
    track->extradata_sent = true;
  }
}

// Streams without out-of-band configuration (raw or broadcast H.264/HEVC
// whose extra data FFmpeg could not fill) carry the parameter sets in their
// key frames; the first such sample supplies them.
void Remuxer::SendInBandParameterSets(Track* track, const std::vector<ByteView>& units) {
  std::vector<uint8_t> annex_b;
  if (track->codec == Codec::kH264) {
    const AvcConfig config = FindAvcParameterSets(units);
    if (config.sps.empty() || config.pps.empty()) {
      return;
    }
    AppendAnnexB({{config.sps.data(), config.sps.size()}, {config.pps.data(), config.pps.size()}},
                 &annex_b);
  } else {
    std::vector<ByteView> sets;
    for (const ByteView& unit : units) {
      const int type = HevcNalType(unit);
      if (type >= kHevcVps && type <= kHevcPps) {
        sets.push_back(unit);
      }
    }
    if (sets.empty()) {
      return;
    }
    AppendAnnexB(sets, &annex_b);
  }
  SendVideoParameterSets(track, annex_b.data(), annex_b.size());
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

bool Remuxer::FlushFilters(std::string* error) {
  const std::initializer_list<Track*> tracks = {video_.get(), audio_.get()};
  return std::all_of(tracks.begin(), tracks.end(), [error](Track* track) {
    return track == nullptr || !track->adts_to_raw || Enqueue(track, nullptr, error);
  });
}

// The track whose next packet goes to the module: the earliest waiting one,
// once every track has one waiting (or the input has ended, or too many wait).
Track* Remuxer::NextReady(bool input_ended) {
  size_t waiting = 0;
  bool every_track_waiting = true;
  for (Track* track : {video_.get(), audio_.get()}) {
    if (track == nullptr) {
      continue;
    }
    waiting += track->queue.size();
    if (track->queue.empty()) {
      every_track_waiting = false;
    }
  }
  if (waiting == 0) {
    return nullptr;
  }
  if (!input_ended && !every_track_waiting && waiting < kMaxQueuedPackets) {
    return nullptr;
  }
  Track* best = nullptr;
  for (Track* track : {video_.get(), audio_.get()}) {  // video first on equal times
    if (track == nullptr || track->queue.empty()) {
      continue;
    }
    if (best == nullptr || track->queue.front().first < best->queue.front().first) {
      best = track;
    }
  }
  return best;
}

bool Remuxer::Emit(Track* track, std::string* error) {
  PacketPtr packet = std::move(track->queue.front().second);
  track->queue.pop_front();
  if (packet->size <= 0) {
    return true;
  }

  // Configuration that arrives with a packet (the ADTS conversion's record,
  // or a stream whose parameters change) is handed over before the packet.
  size_t side_size = 0;
  const uint8_t* side =
      av_packet_get_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, &side_size);
  if (side != nullptr && side_size > 0 && !track->extradata_sent) {
    if (track == video_.get()) {
      SendVideoParameterSets(track, side, side_size);
    } else if (track->codec == Codec::kAac || track->codec == Codec::kVorbis ||
               track->codec == Codec::kOpus) {
      row_.WriteAudioExtraData(output_->handle(), side, static_cast<int32_t>(side_size));
      track->extradata_sent = true;
    }
  }

  const AVRational tb = track->stream->time_base;
  int64_t start = track->next_start;
  if (packet->pts != AV_NOPTS_VALUE) {
    start = av_rescale_q(packet->pts, tb, kHostTimeBase);
  } else if (packet->dts != AV_NOPTS_VALUE) {
    start = av_rescale_q(packet->dts, tb, kHostTimeBase);
  }
  const int64_t duration = packet->duration > 0 ? av_rescale_q(packet->duration, tb, kHostTimeBase)
                                                : track->default_duration;
  track->next_start = start + duration;
  if (!first_start_) {
    first_start_ = start;
  }

  ++track->offered;
  if (track == video_.get()) {
    return WriteVideo(track, *packet, start, duration, error);
  }
  return WriteAudio(track, *packet, start, duration);
}

bool Remuxer::WriteVideo(Track* track, const AVPacket& packet, int64_t start, int64_t duration,
                         std::string* error) {
  buffer_.clear();
  const bool key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  if (track->framing == Framing::kAsIs) {
    // MPEG-4 Part 2 keeps its VOL header in the configuration when the input
    // container has a place for it (MP4, Matroska). The module writes no
    // CodecPrivate for it, so the header goes in front of every key frame
    // that lacks one; otherwise a decoder starting there has no picture size.
    const AVCodecParameters& par = *track->stream->codecpar;
    if (track->codec == Codec::kMpeg4Part2 && key && par.extradata_size > 0 &&
        !HasStartCodeIn(packet.data, static_cast<size_t>(packet.size), kMpeg4VolFirst,
                        kMpeg4VolLast)) {
      buffer_.assign(par.extradata, par.extradata + par.extradata_size);
    }
    buffer_.insert(buffer_.end(), packet.data, packet.data + packet.size);
  } else {
    const auto size = static_cast<size_t>(packet.size);
    if (track->input_length_size < 0) {
      track->input_length_size = StartsWithStartCode(packet.data, size) ? 0 : 4;
    }
    std::vector<ByteView> units;
    if (track->input_length_size == 0) {
      units = SplitAnnexB(packet.data, size);
    } else {
      auto split = SplitLengthPrefixed(packet.data, size, track->input_length_size);
      if (!split) {
        *error = "a " + std::string(CodecName(track->codec)) +
                 " sample of the input is malformed (its unit lengths run past its end)";
        return false;
      }
      units = std::move(*split);
    }
    if (!track->extradata_sent) {
      SendInBandParameterSets(track, units);
    }
    if (track->framing == Framing::kAnnexB) {
      AppendAnnexB(units, &buffer_);
    } else {
      AppendLengthPrefixed(units, &buffer_);
    }
  }
  if (buffer_.empty()) {
    return true;
  }
  if (buffer_.size() > INT32_MAX) {
    *error = "a video sample is too large for the host interface";
    return false;
  }
  MediaSample sample{};
  sample.videoData = buffer_.data();
  sample.videoSize = static_cast<int32_t>(buffer_.size());
  sample.keyframe = key ? 1 : 0;
  sample.start = start;
  sample.duration = ClampToInt32(duration);
  if (row_.WriteVideoData(output_->handle(), &sample) > 0) {
    ++track->accepted;
  }
  return true;
}

bool Remuxer::WriteAudio(Track* track, const AVPacket& packet, int64_t start, int64_t duration) {
  buffer_.assign(packet.data, packet.data + packet.size);
  MediaSample sample{};
  sample.audioData = buffer_.data();
  sample.audioSize = static_cast<int32_t>(buffer_.size());
  sample.start = start;
  sample.duration = ClampToInt32(duration);
  if (row_.WriteAudioData(output_->handle(), &sample, nullptr) > 0) {
    ++track->accepted;
  }
  return true;
}

bool Remuxer::CheckAccepted(std::string* error) const {
  for (const Track* track : {video_.get(), audio_.get()}) {
    if (track == nullptr || track->offered == 0 || track->accepted > 0) {
      continue;
    }
    *error = "the module accepted none of the " + std::to_string(track->offered) + " " +
             CodecName(track->codec) + " samples (FourCC " + Quoted(track->fourcc) + ")";
    return false;
  }
  if ((video_ ? video_->offered : 0) + (audio_ ? audio_->offered : 0) == 0) {
    *error = "the input holds no samples";
    return false;
  }
  return true;
}

RemuxStatus Remuxer::Run(std::string* error) {
  if (!OpenInput(error) || !ChooseTracks(error)) {
    return RemuxStatus::kFailed;
  }

  const std::unique_ptr<MediaFileParams> params = MakeParams();
  SetAspectRatio();
  const std::u16string path = kx::platform::Utf8ToUtf16(request_.output);
  void* handle = row_.CreateMediaFile(path.c_str(), params.get());
  if (handle == nullptr) {
    *error = "the module refused to create " + request_.output +
             " (CreateMediaFile failed; --log FILE records the module's reason)";
    return RemuxStatus::kFailed;
  }
  output_ = std::make_unique<OutputFile>(&row_, handle);
  for (Track* track : {video_.get(), audio_.get()}) {
    if (track != nullptr) {
      SendInitialExtradata(track);
    }
  }

  const double total_seconds =
      input_->duration > 0 ? static_cast<double>(input_->duration) / AV_TIME_BASE : 0.0;
  ProgressBar progress(request_.progress && !request_.quiet, total_seconds);
  PacketPtr packet(av_packet_alloc());
  if (!packet) {
    *error = "out of memory";
    return RemuxStatus::kFailed;
  }
  bool input_ended = false;
  for (;;) {
    if (interrupted_ && interrupted_()) {
      return RemuxStatus::kInterrupted;
    }
    if (!input_ended) {
      const int ret = av_read_frame(input_.get(), packet.get());
      if (ret == AVERROR_EOF) {
        input_ended = true;
        if (!FlushFilters(error)) {
          return RemuxStatus::kFailed;
        }
      } else if (ret == AVERROR_EXIT) {
        return RemuxStatus::kInterrupted;
      } else if (ret < 0) {
        *error = "reading " + request_.input + " failed: " + AvErrorText(ret);
        return RemuxStatus::kFailed;
      } else {
        Track* track = nullptr;
        for (Track* candidate : {video_.get(), audio_.get()}) {
          if (candidate != nullptr && candidate->stream->index == packet->stream_index) {
            track = candidate;
          }
        }
        if (track == nullptr) {
          av_packet_unref(packet.get());
          continue;
        }
        PacketPtr queued(av_packet_alloc());
        if (!queued) {
          *error = "out of memory";
          return RemuxStatus::kFailed;
        }
        av_packet_move_ref(queued.get(), packet.get());
        if (!Enqueue(track, std::move(queued), error)) {
          return RemuxStatus::kFailed;
        }
      }
    }
    while (Track* track = NextReady(input_ended)) {
      if (!Emit(track, error)) {
        return RemuxStatus::kFailed;
      }
    }
    if (first_start_) {
      const int64_t position = std::max(video_ ? video_->next_start : INT64_MIN,
                                        audio_ ? audio_->next_start : INT64_MIN);
      progress.Update(static_cast<double>(position - *first_start_) / kHostUnitsPerSecond);
    }
    if (input_ended) {
      break;  // NextReady drained every queue
    }
  }
  progress.Finish();
  output_->Close();
  return CheckAccepted(error) ? RemuxStatus::kOk : RemuxStatus::kFailed;
}

}  // namespace

RemuxStatus Remux(const RemuxRequest& request, std::string* error) {
  Remuxer remuxer(request);
  return remuxer.Run(error);
}

}  // namespace kxmux
