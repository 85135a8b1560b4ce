// The codecs kxmux can hand to the module, the FourCCs that name each of them
// in the module's vocabulary, and the framing each FourCC wants its samples in.
#ifndef KX_TOOLS_KXMUX_CODECS_H_
#define KX_TOOLS_KXMUX_CODECS_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kxmux {

enum class Codec {
  kH264,
  kHevc,
  kMpeg1Video,
  kMpeg2Video,
  kMpeg4Part2,
  kVp8,
  kVp9,
  kAv1,
  kAac,
  kMp3,
  kMp2,
  kAc3,
  kDts,
  kPcm,
  kVorbis,
  kOpus,
  kSubrip,  // plain text subtitles
  kAss,
  kSsa,
};

// Short human name ("h264", "aac", ...).
const char* CodecName(Codec codec);
bool IsVideo(Codec codec);
bool IsSubtitle(Codec codec);

// Container FourCCs of the catalogue rows.
constexpr uint32_t kFormatKmkv = KX_FOURCC('K', 'M', 'K', 'V');
constexpr uint32_t kFormatMkv = KX_FOURCC('M', 'K', 'V', ' ');
constexpr uint32_t kFormatHmkv = KX_FOURCC('H', 'M', 'K', 'V');
constexpr uint32_t kFormatMka = KX_FOURCC('M', 'K', 'A', ' ');
constexpr uint32_t kFormatWebm = KX_FOURCC('W', 'E', 'B', 'M');

// "VP8" and "VP8 " both give the FourCC V, P, 8, blank; case is kept. Returns
// nullopt for texts that are empty, longer than 4 characters or not ASCII.
std::optional<uint32_t> ParseFourcc(std::string_view text);
// The four characters; unprintable bytes are shown as '?'.
std::string FourccText(uint32_t fourcc);

// The FourCCs that the module treats as this codec, the preferred one first.
// Only these may be chosen for a stream of the codec.
const std::vector<uint32_t>& FourccsFor(Codec codec);

// Whether a catalogue codec list (null = none) contains the FourCC.
bool CodecListHas(const CodecList* list, uint32_t fourcc);
// The FourCCs of a catalogue codec list, in its order.
std::vector<uint32_t> CodecListEntries(const CodecList* list);

// How samples of a stream must be framed for the module.
enum class Framing {
  kAsIs,            // handed over as the demuxer delivers them
  kAnnexB,          // every unit behind a 4-byte start code
  kLengthPrefixed,  // every unit behind its 32-bit big-endian size
};

// The framing that the module's sample path for (codec, FourCC) in the given
// container expects, through the single- or the multi-stream table. H.264
// and HEVC only; every other codec is kAsIs.
Framing FramingFor(Codec codec, uint32_t fourcc, uint32_t container, bool multi = false);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_CODECS_H_
