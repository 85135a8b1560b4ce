#include "bench/peer_writers.h"

#include <cstdio>
#include <cstring>

extern "C" {
#include <libavformat/avformat.h>
}

namespace kx::bench {
namespace {

constexpr AVRational kTicks = {1, 10000000};

AVStream* AddStream(AVFormatContext* context, AVMediaType type, AVCodecID codec) {
  AVStream* stream = avformat_new_stream(context, nullptr);
  if (stream != nullptr) {
    stream->codecpar->codec_type = type;
    stream->codecpar->codec_id = codec;
    stream->time_base = kTicks;
  }
  return stream;
}

bool SetExtradata(AVCodecParameters* codec, const std::vector<uint8_t>& data) {
  codec->extradata = static_cast<uint8_t*>(av_mallocz(data.size() + AV_INPUT_BUFFER_PADDING_SIZE));
  if (codec->extradata == nullptr) {
    return false;
  }
  std::memcpy(codec->extradata, data.data(), data.size());
  codec->extradata_size = static_cast<int>(data.size());
  return true;
}

bool WriteFrames(AVFormatContext* context, const Workload& workload, AVStream* video,
                 AVStream* audio, bool crc32) {
  if (audio == nullptr || (workload.has_video && video == nullptr)) {
    return false;
  }
  if (video != nullptr) {
    video->codecpar->width = 1280;
    video->codecpar->height = 720;
  }
  audio->codecpar->sample_rate = 48000;
  av_channel_layout_default(&audio->codecpar->ch_layout, 2);
  audio->codecpar->frame_size = workload.opus ? 960 : 1024;
  if (!SetExtradata(audio->codecpar, workload.audio_config) ||
      avio_open(&context->pb, context->url, AVIO_FLAG_WRITE) < 0) {
    return false;
  }
  AVDictionary* options = nullptr;
  if (!crc32) {
    av_dict_set(&options, "write_crc32", "0", 0);
  }
  const int header = avformat_write_header(context, &options);
  av_dict_free(&options);
  if (header < 0) {
    return false;
  }
  AVPacket* packet = av_packet_alloc();
  bool ok = packet != nullptr;
  for (const Frame& frame : workload.frames) {
    if (!ok) {
      break;
    }
    const AVStream* stream = frame.video ? video : audio;
    packet->data = const_cast<uint8_t*>(frame.data);
    packet->size = static_cast<int>(frame.size);
    packet->stream_index = stream->index;
    packet->pts = packet->dts = av_rescale_q(frame.start, kTicks, stream->time_base);
    packet->duration = av_rescale_q(frame.duration, kTicks, stream->time_base);
    packet->flags = frame.key ? AV_PKT_FLAG_KEY : 0;
    ok = av_write_frame(context, packet) >= 0;
  }
  av_packet_free(&packet);
  return av_write_trailer(context) >= 0 && ok;
}

}  // namespace

bool WriteFfmpeg(const Workload& workload, const std::string& path, bool crc32) {
  AVFormatContext* context = nullptr;
  if (avformat_alloc_output_context2(&context, nullptr, "matroska", path.c_str()) < 0) {
    return false;
  }
  AVStream* video =
      workload.has_video ? AddStream(context, AVMEDIA_TYPE_VIDEO, AV_CODEC_ID_VP9) : nullptr;
  AVStream* audio =
      AddStream(context, AVMEDIA_TYPE_AUDIO, workload.opus ? AV_CODEC_ID_OPUS : AV_CODEC_ID_AAC);
  const bool ok = WriteFrames(context, workload, video, audio, crc32);
  avio_closep(&context->pb);
  avformat_free_context(context);
  return ok;
}

bool WriteRaw(const Workload& workload, const std::string& path) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  if (file == nullptr) {
    return false;
  }
  bool ok = true;
  for (const Frame& frame : workload.frames) {
    ok = std::fwrite(frame.data, 1, frame.size, file) == frame.size && ok;
  }
  return std::fclose(file) == 0 && ok;
}

}  // namespace kx::bench
