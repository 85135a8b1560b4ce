#include "tools/kxmux/remux.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "tools/kxmux/codec_preparation.h"
#include "tools/kxmux/output.h"
#include "tools/kxmux/progress.h"
#include "tools/kxmux/stream_selection.h"

namespace kxmux {
namespace {

// Packets waiting for the other streams before one of them is handed over.
// Beyond this many the earliest goes anyway, so that a stream that ends
// early (or has a long gap) cannot make kxmux hold the whole input.
constexpr size_t kMaxQueuedPackets = 1024;

std::string Quoted(uint32_t fourcc) { return "'" + FourccText(fourcc) + "'"; }

int32_t ClampToInt32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, 0, INT32_MAX));
}

// Demuxes the input, queues the chosen streams' packets, interleaves them by
// time and hands them, prepared per codec, to the output.
class Remuxer {
 public:
  explicit Remuxer(const RemuxRequest& request)
      : request_(request),
        multi_(request.multi_row != nullptr),
        row_(multi_ ? RowCodecs{request.multi_row->fourcc, request.multi_row->audioCodecs,
                                request.multi_row->videoCodecs}
                    : RowCodecs{request.row->fourcc, request.row->audioCodecs,
                                request.row->videoCodecs}),
        interrupted_(request.interrupted) {}

  RemuxStatus Run(std::string* error);

 private:
  bool OpenInput(std::string* error);
  bool ChooseTracks(std::string* error);
  bool ChooseEveryTrack(std::string* error);
  bool AddTrack(AVStream* stream, std::string* error);
  bool OpenOutput(std::string* error);
  void SendInitialConfiguration(Track* track);
  void SendVideoConfig(Track* track, const std::optional<VideoConfig>& config);
  bool FlushFilters(std::string* error);
  Track* NextReady(bool input_ended);
  bool Emit(Track* track, std::string* error);
  bool CheckAccepted(std::string* error) const;
  [[nodiscard]] Track* FindTrack(int stream_index) const;
  [[nodiscard]] bool HasKind(Kind kind) const {
    return std::any_of(tracks_.begin(), tracks_.end(),
                       [kind](const auto& track) { return track->kind == kind; });
  }
  void Note(const std::string& text) const {
    if (!request_.quiet) {
      std::fprintf(stderr, "kxmux: note: %s\n", text.c_str());
    }
  }

  const RemuxRequest& request_;
  const bool multi_;
  const RowCodecs row_;
  std::function<bool()> interrupted_;
  InputPtr input_;
  std::vector<std::unique_ptr<Track>> tracks_;  // in output order
  std::unique_ptr<Output> output_;
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

// Cover art is a still picture stored as a video stream, not video.
bool IsStillPicture(const AVStream* stream) {
  return (stream->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0;
}

bool Remuxer::AddTrack(AVStream* stream, std::string* error) {
  auto track = std::make_unique<Track>();
  const bool video = stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO;
  const std::optional<uint32_t> wanted = video ? request_.video_fourcc : request_.audio_fourcc;
  if (!SetUpTrack(input_.get(), stream, wanted, row_, request_.any_codec, request_.quiet, multi_,
                  track.get(), error)) {
    return false;
  }
  track->out_index = static_cast<uint32_t>(tracks_.size());
  tracks_.push_back(std::move(track));
  return true;
}

bool Remuxer::ChooseTracks(std::string* error) {
  if (multi_) {
    return ChooseEveryTrack(error);
  }
  AVFormatContext* context = input_.get();
  int video_index = av_find_best_stream(context, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
  if (video_index >= 0 && IsStillPicture(context->streams[video_index])) {
    video_index = -1;
  }
  const int audio_index = av_find_best_stream(context, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0);
  if (video_index >= 0 && !request_.no_video) {
    if (request_.row->WriteVideoData == nullptr) {
      Note("the " + RowName(row_.fourcc) + " row takes no video; the input's video is left out");
    } else if (!AddTrack(context->streams[video_index], error)) {
      return false;
    }
  }
  return audio_index < 0 || request_.no_audio || AddTrack(context->streams[audio_index], error);
}

// Every video, audio and text subtitle stream, in the input's order. Streams
// the module has no FourCC for are left out with a note.
bool Remuxer::ChooseEveryTrack(std::string* error) {
  AVFormatContext* context = input_.get();
  for (unsigned i = 0; i < context->nb_streams; ++i) {
    AVStream* stream = context->streams[i];
    const AVMediaType type = stream->codecpar->codec_type;
    const char* name = avcodec_get_name(stream->codecpar->codec_id);
    if ((type == AVMEDIA_TYPE_VIDEO && (request_.no_video || IsStillPicture(stream))) ||
        (type == AVMEDIA_TYPE_AUDIO && request_.no_audio) ||
        (type != AVMEDIA_TYPE_VIDEO && type != AVMEDIA_TYPE_AUDIO &&
         type != AVMEDIA_TYPE_SUBTITLE)) {
      continue;
    }
    if (type == AVMEDIA_TYPE_VIDEO && row_.video == nullptr) {
      Note("the " + RowName(row_.fourcc) + " row takes no video; stream " + std::to_string(i) +
           " is left out");
      continue;
    }
    const auto codec = CodecFromAv(stream->codecpar->codec_id);
    if (type == AVMEDIA_TYPE_SUBTITLE && (!codec || row_.fourcc == kFormatWebm)) {
      Note(std::string("the ") + name + " subtitle stream " + std::to_string(i) +
           " is left out (the module writes text subtitles into Matroska files only)");
      continue;
    }
    if (!AddTrack(stream, error)) {
      return false;
    }
  }
  return true;
}

bool Remuxer::OpenOutput(std::string* error) {
  if (multi_) {
    std::vector<const Track*> tracks;
    for (const auto& track : tracks_) {
      tracks.push_back(track.get());
    }
    output_ = OpenMultiTable(*request_.multi_row, request_.output, input_.get(), tracks, error);
  } else {
    const Track* video = nullptr;
    const Track* audio = nullptr;
    for (const auto& track : tracks_) {
      (track->kind == Kind::kVideo ? video : audio) = track.get();
    }
    output_ = OpenSingleTable(*request_.row, request_.output, input_.get(), video, audio, error);
  }
  return output_ != nullptr;
}

void Remuxer::SendVideoConfig(Track* track, const std::optional<VideoConfig>& config) {
  if (config) {
    output_->VideoConfiguration(*track, config->first, config->second);
    track->extradata_sent = true;
  }
}

void Remuxer::SendInitialConfiguration(Track* track) {
  const AVCodecParameters& par = *track->stream->codecpar;
  if (par.extradata == nullptr || par.extradata_size <= 0) {
    return;
  }
  const auto size = static_cast<size_t>(par.extradata_size);
  if (track->kind == Kind::kVideo) {
    SendVideoConfig(track, VideoConfigFrom(track, par.extradata, size));
  } else if (TakesConfigurationAsIs(track->codec)) {
    output_->Configuration(*track, par.extradata, size);
    track->extradata_sent = true;
  }
}

bool Remuxer::FlushFilters(std::string* error) {
  return std::all_of(tracks_.begin(), tracks_.end(), [error](const auto& track) {
    return !track->adts_to_raw || Enqueue(track.get(), nullptr, error);
  });
}

// The track whose next packet goes to the module: the earliest waiting one,
// once every audio and video track has one waiting (or the input has ended,
// or too many wait). Subtitles are sparse: they go when they are earliest.
Track* Remuxer::NextReady(bool input_ended) {
  size_t waiting = 0;
  bool every_track_waiting = true;
  Track* best = nullptr;  // the first on equal times: video before audio
  for (const auto& track : tracks_) {
    waiting += track->queue.size();
    if (track->queue.empty()) {
      every_track_waiting = every_track_waiting && track->kind == Kind::kSubtitle;
      continue;
    }
    if (best == nullptr || track->queue.front().first < best->queue.front().first) {
      best = track.get();
    }
  }
  if (waiting == 0 || (!input_ended && !every_track_waiting && waiting < kMaxQueuedPackets)) {
    return nullptr;
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
    if (track->kind == Kind::kVideo) {
      SendVideoConfig(track, VideoConfigFrom(track, side, side_size));
    } else if (TakesConfigurationAsIs(track->codec)) {
      output_->Configuration(*track, side, side_size);
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

  MediaSample sample{};
  sample.start = start;
  sample.duration = ClampToInt32(duration);
  if (track->kind == Kind::kVideo) {
    std::optional<VideoConfig> in_band;
    if (!PrepareVideoSample(track, *packet, &buffer_, &in_band, error)) {
      return false;
    }
    SendVideoConfig(track, in_band);
    if (buffer_.empty()) {
      return true;
    }
    if (buffer_.size() > INT32_MAX) {
      *error = "a video sample is too large for the host interface";
      return false;
    }
    sample.videoData = buffer_.data();
    sample.videoSize = static_cast<int32_t>(buffer_.size());
    sample.keyframe = (packet->flags & AV_PKT_FLAG_KEY) != 0 ? 1 : 0;
  } else {
    buffer_.assign(packet->data, packet->data + packet->size);
    if (track->kind == Kind::kAudio) {
      sample.audioData = buffer_.data();
      sample.audioSize = static_cast<int32_t>(buffer_.size());
    } else {
      sample.subtitleData = buffer_.data();
      sample.subtitleSize = static_cast<int32_t>(buffer_.size());
    }
  }
  if (output_->Write(*track, sample)) {
    ++track->accepted;
  }
  return true;
}

bool Remuxer::CheckAccepted(std::string* error) const {
  uint64_t offered = 0;
  for (const auto& track : tracks_) {
    offered += track->offered;
    if (track->offered == 0 || track->accepted > 0) {
      continue;
    }
    *error = "the module accepted none of the " + std::to_string(track->offered) + " " +
             CodecName(track->codec) + " samples (FourCC " + Quoted(track->fourcc) + ")";
    return false;
  }
  if (offered == 0) {
    *error = "the input holds no samples";
    return false;
  }
  return true;
}

Track* Remuxer::FindTrack(int stream_index) const {
  for (const auto& track : tracks_) {
    if (track->stream->index == stream_index) {
      return track.get();
    }
  }
  return nullptr;
}

RemuxStatus Remuxer::Run(std::string* error) {
  if (!OpenInput(error) || !ChooseTracks(error)) {
    return RemuxStatus::kFailed;
  }
  if (tracks_.empty()) {
    *error = "the input has no " + std::string(request_.no_video ? "" : "video or ") +
             "audio stream to write";
    return RemuxStatus::kFailed;
  }
  if (request_.video_fourcc && !HasKind(Kind::kVideo)) {
    Note("--video-fourcc is unused: no video is written");
  }
  if (request_.audio_fourcc && !HasKind(Kind::kAudio)) {
    Note("--audio-fourcc is unused: no audio is written");
  }
  if (!OpenOutput(error)) {
    return RemuxStatus::kFailed;
  }
  for (const auto& track : tracks_) {
    SendInitialConfiguration(track.get());
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
        Track* track = FindTrack(packet->stream_index);
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
      int64_t position = INT64_MIN;
      for (const auto& track : tracks_) {
        position = std::max(position, track->next_start);
      }
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
