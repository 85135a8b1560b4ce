#include "src/plugin/catalogue.h"

#include "src/codec/fourcc.h"
#include "src/plugin/multi_stream_entry.h"
#include "src/plugin/single_stream_entry.h"

namespace kx {
namespace {

// The lists keep five codes to a line, whatever the formatter would make of them.
// clang-format off
// ---- Audio codec lists ----
constexpr CodecList kKmkvAudio[] = {FourCC("AAC "), FourCC("KAAC"), FourCC("WAAC"),
                                    FourCC("AC3 "), 0};
// Shared by the "MKV " and "MKA " rows.
constexpr CodecList kMkvAudio[] = {FourCC("AAC "), FourCC("WAAC"), FourCC("AC3 "),
                                   FourCC("MP3 "), FourCC("OPUS"), 0};
constexpr CodecList kHmkvAudio[] = {FourCC("AC3 "), 0};
constexpr CodecList kWebmAudio[] = {FourCC("VBIS"), 0};

// ---- Video codec lists ----
constexpr CodecList kKmkvVideo[] = {
    FourCC("K264"), FourCC("VT64"), FourCC("N264"), FourCC("E264"), FourCC("I264"),
    FourCC("A264"), FourCC("AAVC"), FourCC("K265"), FourCC("HEVC"), FourCC("V265"),
    FourCC("A265"), FourCC("I265"), FourCC("E265"), FourCC("VP8 "), FourCC("VP9 "),
    FourCC("AV1 "), FourCC("IAV1"), 0};
constexpr CodecList kMkvVideo[] = {
    FourCC("I264"), FourCC("A264"), FourCC("AAVC"), FourCC("N264"), FourCC("E264"),
    FourCC("H264"), FourCC("Xvid"), FourCC("NB24"), FourCC("AB24"), FourCC("IB24"),
    FourCC("EB24"), FourCC("B264"), FourCC("HEVC"), FourCC("A265"), FourCC("I265"),
    FourCC("E265"), FourCC("VP8 "), FourCC("VP9 "), FourCC("AV1 "), FourCC("IAV1"), 0};
// Shared by both tables.
constexpr CodecList kHmkvVideo[] = {
    FourCC("I264"), FourCC("A264"), FourCC("AAVC"), FourCC("N264"), FourCC("E264"),
    FourCC("havc"), FourCC("NB24"), FourCC("AB24"), FourCC("IB24"), FourCC("EB24"),
    FourCC("B264"), FourCC("HEVC"), FourCC("VT64"), FourCC("V265"), FourCC("A265"),
    FourCC("I265"), FourCC("E265"), FourCC("VP8 "), FourCC("VP9 "), FourCC("AV1 "),
    FourCC("IAV1"), 0};
constexpr CodecList kWebmVideo[] = {FourCC("VP8 "), FourCC("VP9 "), FourCC("AV1 "),
                                    FourCC("IAV1"), 0};
// The multi-stream "KMKV" row offers no H.264 FourCC that needs the NAL-unit
// path, and its "MKV " row adds "V265".
constexpr CodecList kKmkvVideoMulti[] = {
    FourCC("K264"), FourCC("VT64"), FourCC("K265"), FourCC("HEVC"), FourCC("V265"),
    FourCC("A265"), FourCC("I265"), FourCC("E265"), FourCC("VP8 "), FourCC("VP9 "),
    FourCC("AV1 "), FourCC("IAV1"), 0};
constexpr CodecList kMkvVideoMulti[] = {
    FourCC("I264"), FourCC("A264"), FourCC("AAVC"), FourCC("N264"), FourCC("E264"),
    FourCC("H264"), FourCC("Xvid"), FourCC("NB24"), FourCC("AB24"), FourCC("IB24"),
    FourCC("EB24"), FourCC("B264"), FourCC("HEVC"), FourCC("V265"), FourCC("A265"),
    FourCC("I265"), FourCC("E265"), FourCC("VP8 "), FourCC("VP9 "), FourCC("AV1 "),
    FourCC("IAV1"), 0};

// clang-format on

// Copies a NUL-terminated text into a fixed field; the rest stays zero.
template <size_t N>
constexpr void CopyText(char16_t (&field)[N], const char16_t* text) {
  for (size_t i = 0; i + 1 < N && text[i] != 0; ++i) {
    field[i] = text[i];
  }
}

template <typename Row>
constexpr Row DescribedRow(uint32_t fourcc, const char16_t* extension, const char16_t* name,
                           const char16_t* description, const CodecList* audio,
                           const CodecList* video) {
  Row row{};
  row.fourcc = fourcc;
  CopyText(row.extension, extension);
  CopyText(row.name, name);
  CopyText(row.description, description);
  row.audioCodecs = audio;
  row.videoCodecs = video;
  return row;
}

constexpr FileFormat SingleRow(uint32_t fourcc, const char16_t* extension, const char16_t* name,
                               const char16_t* description, const CodecList* audio,
                               const CodecList* video, uint64_t flag) {
  auto row = DescribedRow<FileFormat>(fourcc, extension, name, description, audio, video);
  row.CreateMediaFile = CreateMediaFile;
  row.WriteAudioData = WriteAudioData;
  row.CloseMediaFile = CloseMediaFile;
  row.WriteAudioExtraData = WriteAudioExtraData;
  row.flag = flag;
  // An audio-only format offers none of the video functions.
  if (video != nullptr) {
    row.WriteVideoData = WriteVideoData;
    row.WriteVideoExtraData = WriteVideoExtraData;
    row.SetDisplayAspectRatio = SetDisplayAspectRatio;
  }
  return row;
}

constexpr FileMultiStreamFormat MultiRow(uint32_t fourcc, const char16_t* extension,
                                         const char16_t* name, const char16_t* description,
                                         const CodecList* audio, const CodecList* video) {
  auto row =
      DescribedRow<FileMultiStreamFormat>(fourcc, extension, name, description, audio, video);
  row.CreateMediaFileMultiStream = CreateMediaFileMultiStream;
  row.AddStreamInfoMultiStream = AddStreamInfoMultiStream;
  row.InitMediaFileMultiStream = InitMediaFileMultiStream;
  row.WriteSampleMultiStream = WriteSampleMultiStream;
  row.CloseMediaFileMultiStream = CloseMediaFileMultiStream;
  row.WriteExtraDataMultiStream = WriteExtraDataMultiStream;
  row.flag = 1;
  return row;
}

// Each table ends with an all-zero record. constexpr makes the tables constant
// data in the image: a host may ask for them before, or while, the module's
// dynamic initialisers run.
constexpr FileFormat kSingleStreamTable[] = {
    SingleRow(FourCC("KMKV"), u".mkv", u"MKV", u"MKV File", kKmkvAudio, kKmkvVideo, 1),
    SingleRow(FourCC("MKV "), u".mkv", u"MKV", u"MKV File", kMkvAudio, kMkvVideo, 0),
    SingleRow(FourCC("HMKV"), u".mkv", u"MKV", u"MKV File", kHmkvAudio, kHmkvVideo, 0),
    SingleRow(FourCC("MKA "), u".mka", u"MKA", u"MKA File", kMkvAudio, nullptr, 0),
    SingleRow(FourCC("WEBM"), u".webm", u"WEBM", u"WEBM File", kWebmAudio, kWebmVideo, 0),
    FileFormat{},
};

constexpr FileMultiStreamFormat kMultiStreamTable[] = {
    MultiRow(FourCC("KMKV"), u".mkv", u"MKV", u"MKV File", kKmkvAudio, kKmkvVideoMulti),
    MultiRow(FourCC("MKV "), u".mkv", u"MKV", u"MKV File", kMkvAudio, kMkvVideoMulti),
    MultiRow(FourCC("HMKV"), u".mkv", u"MKV", u"MKV File", kHmkvAudio, kHmkvVideo),
    MultiRow(FourCC("MKA "), u".mka", u"MKA", u"MKA File", kMkvAudio, nullptr),
    MultiRow(FourCC("WEBM"), u".webm", u"WEBM", u"WEBM File", kWebmAudio, kWebmVideo),
    FileMultiStreamFormat{},
};

}  // namespace

const FileFormat* SingleStreamCatalogue() { return kSingleStreamTable; }

const FileMultiStreamFormat* MultiStreamCatalogue() { return kMultiStreamTable; }

const FileFormat* FindFileFormat(uint32_t fourcc) {
  for (const FileFormat* row = kSingleStreamTable; row->fourcc != 0; ++row) {
    if (row->fourcc == fourcc) {
      return row;
    }
  }
  return nullptr;
}

}  // namespace kx
