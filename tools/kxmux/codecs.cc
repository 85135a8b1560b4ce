#include "tools/kxmux/codecs.h"

#include <algorithm>
#include <array>

namespace kxmux {
namespace {

constexpr uint32_t F(std::string_view t) { return KX_FOURCC(t[0], t[1], t[2], t[3]); }

bool OneOf(uint32_t fourcc, std::initializer_list<uint32_t> set) {
  return std::find(set.begin(), set.end(), fourcc) != set.end();
}

// H.264 FourCCs whose samples the module reads on its NAL-unit path: it
// splits them at 4-byte start codes.
bool IsAvcNalUnitPath(uint32_t fourcc) {
  return OneOf(fourcc, {F("A264"), F("E264"), F("I264"), F("N264"), F("AB24"), F("EB24"), F("IB24"),
                        F("NB24"), F("AAVC"), F("VT64")});
}

}  // namespace

const char* CodecName(Codec codec) {
  switch (codec) {
    case Codec::kH264:
      return "h264";
    case Codec::kHevc:
      return "hevc";
    case Codec::kMpeg1Video:
      return "mpeg1video";
    case Codec::kMpeg2Video:
      return "mpeg2video";
    case Codec::kMpeg4Part2:
      return "mpeg4";
    case Codec::kVp8:
      return "vp8";
    case Codec::kVp9:
      return "vp9";
    case Codec::kAv1:
      return "av1";
    case Codec::kAac:
      return "aac";
    case Codec::kMp3:
      return "mp3";
    case Codec::kMp2:
      return "mp2";
    case Codec::kAc3:
      return "ac3";
    case Codec::kDts:
      return "dts";
    case Codec::kPcm:
      return "pcm";
    case Codec::kVorbis:
      return "vorbis";
    case Codec::kOpus:
      return "opus";
    case Codec::kSubrip:
      return "subrip";
    case Codec::kAss:
      return "ass";
    case Codec::kSsa:
      return "ssa";
  }
  return "?";
}

bool IsVideo(Codec codec) {
  switch (codec) {
    case Codec::kH264:
    case Codec::kHevc:
    case Codec::kMpeg1Video:
    case Codec::kMpeg2Video:
    case Codec::kMpeg4Part2:
    case Codec::kVp8:
    case Codec::kVp9:
    case Codec::kAv1:
      return true;
    default:
      return false;
  }
}

bool IsSubtitle(Codec codec) {
  return codec == Codec::kSubrip || codec == Codec::kAss || codec == Codec::kSsa;
}

std::optional<uint32_t> ParseFourcc(std::string_view text) {
  if (text.empty() || text.size() > 4) {
    return std::nullopt;
  }
  std::array<char, 4> chars = {' ', ' ', ' ', ' '};
  for (size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c < 0x20 || c > 0x7E) {
      return std::nullopt;
    }
    chars[i] = static_cast<char>(c);
  }
  return KX_FOURCC(chars[0], chars[1], chars[2], chars[3]);
}

std::string FourccText(uint32_t fourcc) {
  std::string text;
  for (int i = 0; i < 4; ++i) {
    const auto c = static_cast<unsigned char>(fourcc >> (8 * i));
    text.push_back(c >= 0x20 && c <= 0x7E ? static_cast<char>(c) : '?');
  }
  return text;
}

const std::vector<uint32_t>& FourccsFor(Codec codec) {
  // KAAC is left out on purpose: the module writes it as a VFW audio track,
  // which no reader decodes as AAC.
  static const std::vector<std::vector<uint32_t>> kTable = {
      /* kH264 */ {F("H264"), F("I264"), F("K264"), F("B264"), F("A264"), F("E264"), F("N264"),
                   F("AB24"), F("EB24"), F("IB24"), F("NB24"), F("AAVC"), F("VT64"), F("havc"),
                   F("W264")},
      /* kHevc */ {F("HEVC"), F("K265"), F("A265"), F("E265"), F("I265"), F("V265")},
      /* kMpeg1Video */ {F("MP1V")},
      /* kMpeg2Video */ {F("MP2V")},
      /* kMpeg4Part2 */ {F("MP4V"), F("Xvid")},
      /* kVp8 */ {F("VP8 ")},
      /* kVp9 */ {F("VP9 ")},
      /* kAv1 */ {F("AV1 "), F("IAV1")},
      /* kAac */ {F("AAC "), F("WAAC")},
      /* kMp3 */ {F("MP3 ")},
      /* kMp2 */ {F("MP2A")},
      /* kAc3 */ {F("AC3 ")},
      /* kDts */ {F("DTS ")},
      /* kPcm */ {F("PCM ")},
      /* kVorbis */ {F("VBIS")},
      /* kOpus */ {F("OPUS")},
      /* kSubrip */ {F("SRT ")},
      /* kAss */ {F("ASS ")},
      /* kSsa */ {F("SSA ")},
  };
  return kTable[static_cast<size_t>(codec)];
}

bool CodecListHas(const CodecList* list, uint32_t fourcc) {
  for (; list != nullptr && *list != 0; ++list) {
    if (static_cast<uint32_t>(*list) == fourcc) {
      return true;
    }
  }
  return false;
}

std::vector<uint32_t> CodecListEntries(const CodecList* list) {
  std::vector<uint32_t> entries;
  for (; list != nullptr && *list != 0; ++list) {
    entries.push_back(static_cast<uint32_t>(*list));
  }
  return entries;
}

Framing FramingFor(Codec codec, uint32_t fourcc, uint32_t container, bool multi) {
  const bool webm = container == kFormatWebm;
  if (multi) {
    // The multi-stream muxer converts "H264" (in WebM too), splits the
    // NAL-unit FourCCs and compacts "W264", all from start codes; its HEVC
    // muxer (Matroska only, "K265" not among its FourCCs) wants start codes.
    if (codec == Codec::kH264) {
      return IsAvcNalUnitPath(fourcc) || OneOf(fourcc, {F("H264"), F("W264")})
                 ? Framing::kAnnexB
                 : Framing::kLengthPrefixed;
    }
    if (codec == Codec::kHevc) {
      return !webm && fourcc != F("K265") ? Framing::kAnnexB : Framing::kLengthPrefixed;
    }
    return Framing::kAsIs;
  }
  if (codec == Codec::kH264) {
    if (IsAvcNalUnitPath(fourcc)) {
      return Framing::kAnnexB;
    }
    // H264 and B264 go through the conversion path of the Matroska muxer,
    // which wants start codes; the WebM muxer and the other FourCCs store the
    // samples as they come, so they must already be what Matroska stores.
    if (!webm && OneOf(fourcc, {F("H264"), F("B264")})) {
      return Framing::kAnnexB;
    }
    return Framing::kLengthPrefixed;
  }
  if (codec == Codec::kHevc) {
    // The HEVC muxer accepts start codes only; the WebM muxer has no HEVC
    // path and stores samples unchanged.
    return webm ? Framing::kLengthPrefixed : Framing::kAnnexB;
  }
  return Framing::kAsIs;
}

}  // namespace kxmux
