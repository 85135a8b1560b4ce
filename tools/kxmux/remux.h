// The remux itself: demux with libavformat, hand the samples to one
// catalogue row of the module, close the file.
#ifndef KX_TOOLS_KXMUX_REMUX_H_
#define KX_TOOLS_KXMUX_REMUX_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "include/kx_mkv/kx_mkv.h"

namespace kxmux {

struct RemuxRequest {
  std::string input;
  std::string output;  // the file the module creates
  const FileFormat* row = nullptr;
  // Set for --multi: every video, audio and text subtitle stream of the
  // input goes through this multi-stream row instead of `row`.
  const FileMultiStreamFormat* multi_row = nullptr;
  std::optional<uint32_t> video_fourcc;
  std::optional<uint32_t> audio_fourcc;
  bool any_codec = false;
  bool no_video = false;
  bool no_audio = false;
  bool quiet = false;     // no notes on stderr
  bool progress = false;  // a progress bar may be drawn on stderr
  // Polled between samples; true aborts the remux.
  std::function<bool()> interrupted;
};

enum class RemuxStatus { kOk, kFailed, kInterrupted };

// On kFailed, *error holds one line saying why. Whatever the module wrote is
// left at request.output for the caller to keep or remove.
RemuxStatus Remux(const RemuxRequest& request, std::string* error);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_REMUX_H_
