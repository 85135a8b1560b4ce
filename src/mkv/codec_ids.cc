#include "src/mkv/codec_ids.h"

#include <algorithm>
#include <initializer_list>

#include "src/codec/fourcc.h"

namespace kx {
namespace {

struct CodecRow {
  std::initializer_list<uint32_t> fourccs;
  std::string_view codec_id;
};

std::string_view Lookup(std::initializer_list<CodecRow> rows, uint32_t fourcc,
                        std::string_view fallback) {
  for (const CodecRow& row : rows) {
    if (std::find(row.fourccs.begin(), row.fourccs.end(), fourcc) != row.fourccs.end()) {
      return row.codec_id;
    }
  }
  return fallback;
}

bool OneOf(uint32_t fourcc, std::initializer_list<uint32_t> set) {
  return std::find(set.begin(), set.end(), fourcc) != set.end();
}

}  // namespace

std::string_view MatroskaVideoCodecId(uint32_t fourcc) {
  return Lookup(
      {
          {{FourCC("H264"), FourCC("I264"), FourCC("A264"), FourCC("B264"), FourCC("E264"),
            FourCC("K264"), FourCC("N264"), FourCC("VT64"), FourCC("AAVC"), FourCC("havc"),
            FourCC("AB24"), FourCC("EB24"), FourCC("IB24"), FourCC("NB24")},
           "V_MPEG4/ISO/AVC"},
          {{FourCC("HEVC"), FourCC("K265"), FourCC("A265"), FourCC("E265"), FourCC("I265"),
            FourCC("V265")},
           "V_MPEGH/ISO/HEVC"},
          {{FourCC("MP1V")}, "V_MPEG1"},
          {{FourCC("MP2V")}, "V_MPEG2"},
          {{FourCC("MP4V"), FourCC("Xvid")}, "V_MPEG4/ISO/ASP"},
          {{FourCC("VP8 ")}, "V_VP8"},
          {{FourCC("VP9 ")}, "V_VP9"},
          {{FourCC("AV1 "), FourCC("IAV1")}, "V_AV1"},
      },
      fourcc, kVfwVideoCodecId);
}

std::string_view MatroskaAudioCodecId(uint32_t fourcc) {
  return Lookup(
      {
          {{FourCC("MP2A")}, "A_MPEG/L2"},
          {{FourCC("MP3 ")}, "A_MPEG/L3"},
          {{FourCC("AC3 ")}, "A_AC3"},
          {{FourCC("DTS ")}, "A_DTS"},
          {{FourCC("PCM ")}, "A_PCM/INT/LIT"},
          {{FourCC("AAC "), FourCC("WAAC")}, "A_AAC"},
          {{FourCC("VBIS")}, "A_VORBIS"},
          {{FourCC("OPUS")}, "A_OPUS"},
      },
      fourcc, kVfwAudioCodecId);
}

std::string_view WebmVideoCodecId(uint32_t fourcc) {
  return Lookup(
      {
          {{FourCC("MP1V")}, "V_MPEG1"},
          {{FourCC("MP2V")}, "V_MPEG2"},
          {{FourCC("MP4V"), FourCC("Xvid")}, "V_MPEG4/ISO/ASP"},
          {{FourCC("VP8 ")}, "V_VP8"},
          {{FourCC("VP9 ")}, "V_VP9"},
          {{FourCC("H264"), FourCC("A264"), FourCC("E264"), FourCC("N264"), FourCC("AB24"),
            FourCC("EB24"), FourCC("IB24"), FourCC("NB24"), FourCC("havc"), FourCC("AAVC")},
           "V_MPEG4/ISO/AVC"},
      },
      fourcc, kVfwVideoCodecId);
}

std::string_view WebmAudioCodecId(uint32_t fourcc) {
  // WebM maps only "AAC " to A_AAC; "WAAC" takes the VFW fallback.
  if (fourcc == FourCC("WAAC")) {
    return kVfwAudioCodecId;
  }
  return MatroskaAudioCodecId(fourcc);
}

std::string_view MatroskaSubtitleCodecId(uint32_t fourcc) {
  return Lookup({{{FourCC("SRT ")}, "S_TEXT/UTF8"},
                 {{FourCC("ASS ")}, "S_TEXT/ASS"},
                 {{FourCC("SSA ")}, "S_TEXT/SSA"}},
                fourcc, {});
}

bool IsNalUnitFourCC(uint32_t fourcc) {
  return OneOf(fourcc,
               {FourCC("A264"), FourCC("E264"), FourCC("I264"), FourCC("N264"), FourCC("AB24"),
                FourCC("EB24"), FourCC("IB24"), FourCC("NB24"), FourCC("AAVC"), FourCC("VT64")});
}

bool IsWebmVideoFourCC(uint32_t fourcc) {
  return OneOf(fourcc, {FourCC("VP8 "), FourCC("VP9 "), FourCC("AV1 "), FourCC("IAV1")});
}

bool IsHevcFourCC(uint32_t fourcc) {
  return OneOf(fourcc, {FourCC("K265"), FourCC("A265"), FourCC("E265"), FourCC("I265"),
                        FourCC("V265"), FourCC("HEVC")});
}

}  // namespace kx
