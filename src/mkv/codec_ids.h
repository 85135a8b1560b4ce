// Host FourCC -> Matroska CodecID. These tables are the whole codec
// vocabulary of the Matroska muxers; the WebM muxer's are narrower.
#ifndef KX_MKV_CODEC_IDS_H_
#define KX_MKV_CODEC_IDS_H_

#include <cstdint>
#include <string_view>

namespace kx {

inline constexpr std::string_view kVfwVideoCodecId = "V_MS/VFW/FOURCC";
inline constexpr std::string_view kVfwAudioCodecId = "A_MS/VFW/FOURCC";

std::string_view MatroskaVideoCodecId(uint32_t fourcc);
std::string_view MatroskaAudioCodecId(uint32_t fourcc);
// Text subtitles; empty for a FourCC that names no subtitle format the
// module can write.
std::string_view MatroskaSubtitleCodecId(uint32_t fourcc);
std::string_view WebmVideoCodecId(uint32_t fourcc);
std::string_view WebmAudioCodecId(uint32_t fourcc);

// CodecID prefixes: "V_MPEG4/ISO/AVC" and "V_MPEGH/ISO/HEVC" are matched by
// their start, so that longer variants of the IDs take the same handling.
inline bool CodecIdStartsWith(std::string_view codec_id, std::string_view prefix) {
  return codec_id.substr(0, prefix.size()) == prefix;
}

// The H.264 FourCCs whose samples carry NAL units with 4-byte start codes,
// one block per slice.
bool IsNalUnitFourCC(uint32_t fourcc);
// Video FourCCs that make a WebM DocType.
bool IsWebmVideoFourCC(uint32_t fourcc);
// Video FourCCs that select the HEVC muxer.
bool IsHevcFourCC(uint32_t fourcc);

}  // namespace kx

#endif  // KX_MKV_CODEC_IDS_H_
