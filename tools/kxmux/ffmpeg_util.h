// Owning handles for the FFmpeg objects kxmux uses.
#ifndef KX_TOOLS_KXMUX_FFMPEG_UTIL_H_
#define KX_TOOLS_KXMUX_FFMPEG_UTIL_H_

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/error.h>
}

#include <array>
#include <memory>
#include <string>

namespace kxmux {

struct InputCloser {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
using InputPtr = std::unique_ptr<AVFormatContext, InputCloser>;

struct PacketFreer {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
using PacketPtr = std::unique_ptr<AVPacket, PacketFreer>;

struct BsfFreer {
  void operator()(AVBSFContext* context) const { av_bsf_free(&context); }
};
using BsfPtr = std::unique_ptr<AVBSFContext, BsfFreer>;

inline std::string AvErrorText(int code) {
  std::array<char, AV_ERROR_MAX_STRING_SIZE> text = {};
  av_strerror(code, text.data(), text.size());
  return text.data();
}

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_FFMPEG_UTIL_H_
