// Which input streams go into the file, with which FourCC, and how their
// packets are queued for interleaving.
#ifndef KX_TOOLS_KXMUX_STREAM_SELECTION_H_
#define KX_TOOLS_KXMUX_STREAM_SELECTION_H_

#include <cstdint>
#include <optional>
#include <string>

#include "include/kx_mkv/kx_mkv.h"
#include "tools/kxmux/track.h"

namespace kxmux {

// What the choice of FourCC needs of a catalogue row of either table.
struct RowCodecs {
  uint32_t fourcc = 0;
  const CodecList* audio = nullptr;
  const CodecList* video = nullptr;
};

// The row's name without trailing blanks ("MKV", "WEBM").
std::string RowName(uint32_t fourcc);

std::optional<Codec> CodecFromAv(AVCodecID id);

// Fills `track` for the stream: codec, FourCC (the user's `wanted` when it
// fits, else the first that the row lists; without `any_codec` the row must
// list it), framing, default duration, ADTS conversion. Subtitles are not
// in the rows' lists and take their FourCC as it is. False with *error set
// when the stream cannot go in.
bool SetUpTrack(AVFormatContext* input, AVStream* stream, std::optional<uint32_t> wanted,
                const RowCodecs& row, bool any_codec, bool quiet, bool multi, Track* track,
                std::string* error);

// Queues a packet of the track for interleaving, through the ADTS conversion
// when the track has one (a null packet drains the conversion at the end).
bool Enqueue(Track* track, PacketPtr packet, std::string* error);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_STREAM_SELECTION_H_
