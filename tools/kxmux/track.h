// One input stream that goes into the file, with what kxmux keeps about it
// while remuxing.
#ifndef KX_TOOLS_KXMUX_TRACK_H_
#define KX_TOOLS_KXMUX_TRACK_H_

#include <cstdint>
#include <deque>
#include <utility>

#include "tools/kxmux/codecs.h"
#include "tools/kxmux/ffmpeg_util.h"

namespace kxmux {

enum class Kind { kVideo, kAudio, kSubtitle };

struct Track {
  AVStream* stream = nullptr;
  Codec codec = Codec::kH264;
  Kind kind = Kind::kVideo;
  uint32_t fourcc = 0;
  uint32_t out_index = 0;  // the multi-stream table's OutStreamIndex
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

// The host interface counts time in 100-ns units.
constexpr AVRational kHostTimeBase = {1, 10000000};
constexpr int64_t kHostUnitsPerSecond = 10000000;

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_TRACK_H_
