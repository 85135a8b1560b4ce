// The two catalogues are read by the host as raw memory, so they are checked
// here as raw memory: every record is rebuilt byte for byte from the format
// definitions written out below (independently of the module's own tables)
// and compared whole.
#include "src/plugin/catalogue.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "include/kx_mkv/kx_mkv.h"
#include "src/plugin/multi_stream_entry.h"
#include "src/plugin/single_stream_entry.h"
#include "tests/support/log_capture.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Codes = std::vector<std::string>;

constexpr size_t kRecordSize = 488;
constexpr size_t kRowCount = 5;

// ---- What the host must see ----

const Codes kKmkvAudio = {"AAC ", "KAAC", "WAAC", "AC3 "};
const Codes kMkvAudio = {"AAC ", "WAAC", "AC3 ", "MP3 ", "OPUS"};
const Codes kHmkvAudio = {"AC3 "};
const Codes kWebmAudio = {"VBIS"};

const Codes kKmkvVideoSingle = {"K264", "VT64", "N264", "E264", "I264", "A264",
                                "AAVC", "K265", "HEVC", "V265", "A265", "I265",
                                "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kMkvVideoSingle = {"I264", "A264", "AAVC", "N264", "E264", "H264", "Xvid",
                               "NB24", "AB24", "IB24", "EB24", "B264", "HEVC", "A265",
                               "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kHmkvVideo = {"I264", "A264", "AAVC", "N264", "E264", "havc", "NB24",
                          "AB24", "IB24", "EB24", "B264", "HEVC", "VT64", "V265",
                          "A265", "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kWebmVideo = {"VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kKmkvVideoMulti = {"K264", "VT64", "K265", "HEVC", "V265", "A265",
                               "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};
const Codes kMkvVideoMulti = {"I264", "A264", "AAVC", "N264", "E264", "H264", "Xvid",
                              "NB24", "AB24", "IB24", "EB24", "B264", "HEVC", "V265",
                              "A265", "I265", "E265", "VP8 ", "VP9 ", "AV1 ", "IAV1"};

struct RowText {
  const char* fourcc;
  std::u16string extension;
  std::u16string name;
  std::u16string description;
};

const std::array<RowText, kRowCount> kRowTexts = {{
    {"KMKV", u".mkv", u"MKV", u"MKV File"},
    {"MKV ", u".mkv", u"MKV", u"MKV File"},
    {"HMKV", u".mkv", u"MKV", u"MKV File"},
    {"MKA ", u".mka", u"MKA", u"MKA File"},
    {"WEBM", u".webm", u"WEBM", u"WEBM File"},
}};

// ---- Byte helpers ----

Bytes Memory(const void* address, size_t size) {
  const auto* begin = static_cast<const uint8_t*>(address);
  return {begin, begin + size};
}

void PutU64(Bytes& bytes, size_t offset, uint64_t value) {
  for (size_t i = 0; i < 8; ++i) {
    bytes[offset + i] = static_cast<uint8_t>(value >> (8 * i));
  }
}

template <typename T>
void PutPointer(Bytes& bytes, size_t offset, T* pointer) {
  PutU64(bytes, offset, reinterpret_cast<uintptr_t>(pointer));
}

// A fixed UTF-16LE field: the text, its NUL and zeros to the end.
void PutText(Bytes& bytes, size_t offset, size_t field_size, const std::u16string& text) {
  ASSERT_LT(text.size() * 2, field_size);
  for (size_t i = 0; i < text.size(); ++i) {
    bytes[offset + 2 * i] = static_cast<uint8_t>(text[i] & 0xFF);
    bytes[offset + 2 * i + 1] = static_cast<uint8_t>(text[i] >> 8);
  }
}

// The bytes a codec list must have: 8-byte entries with the four characters
// in the low half, then an all-zero entry.
Bytes CodecListBytes(const Codes& codes) {
  Bytes bytes((codes.size() + 1) * 8, 0);
  for (size_t i = 0; i < codes.size(); ++i) {
    EXPECT_EQ(codes[i].size(), 4U);
    std::memcpy(&bytes[i * 8], codes[i].data(), 4);
  }
  return bytes;
}

Bytes ListMemory(const CodecList* list, size_t entries) {
  return Memory(list, (entries + 1) * sizeof(CodecList));
}

// The descriptive part of a record (offsets 0 to 407), everything else zero.
Bytes DescribedRecord(const RowText& text) {
  Bytes bytes(kRecordSize, 0);
  std::memcpy(bytes.data(), text.fourcc, 4);
  PutText(bytes, 4, 20, text.extension);
  PutText(bytes, 24, 128, text.name);
  PutText(bytes, 152, 256, text.description);
  return bytes;
}

const uint8_t* TableBytes(const void* table) { return static_cast<const uint8_t*>(table); }

// Each row's lists, compared whole; a null expectation means no list at all.
using ListSet = std::array<const Codes*, kRowCount>;

template <typename Row>
void ExpectCodecLists(const Row* table, const ListSet& audio, const ListSet& video) {
  for (size_t row = 0; row < kRowCount; ++row) {
    SCOPED_TRACE(kRowTexts[row].fourcc);
    ASSERT_NE(table[row].audioCodecs, nullptr);
    EXPECT_EQ(ListMemory(table[row].audioCodecs, audio[row]->size()), CodecListBytes(*audio[row]));
    if (video[row] == nullptr) {
      EXPECT_EQ(table[row].videoCodecs, nullptr);
    } else {
      ASSERT_NE(table[row].videoCodecs, nullptr);
      EXPECT_EQ(ListMemory(table[row].videoCodecs, video[row]->size()),
                CodecListBytes(*video[row]));
    }
  }
  // "MKV " and "MKA " point to one list rather than to two equal ones.
  EXPECT_EQ(table[1].audioCodecs, table[3].audioCodecs);
}

const ListSet kAudioLists = {&kKmkvAudio, &kMkvAudio, &kHmkvAudio, &kMkvAudio, &kWebmAudio};

// ---- Single-stream table ----

TEST(SingleStreamCatalogue, CodecListsHoldTheFormatsCodesInOrder) {
  ExpectCodecLists(GetFileFormats(), kAudioLists,
                   {&kKmkvVideoSingle, &kMkvVideoSingle, &kHmkvVideo, nullptr, &kWebmVideo});
}

TEST(SingleStreamCatalogue, EveryRecordMatchesByteForByte) {
  const FileFormat* table = GetFileFormats();
  for (size_t row = 0; row < kRowCount; ++row) {
    SCOPED_TRACE(kRowTexts[row].fourcc);
    const bool audio_only = row == 3;
    Bytes expected = DescribedRecord(kRowTexts[row]);
    // The lists' contents are checked above; here only where they sit.
    PutPointer(expected, 408, table[row].audioCodecs);
    PutPointer(expected, 416, table[row].videoCodecs);
    PutPointer(expected, 424, &kx::CreateMediaFile);
    PutPointer(expected, 432, &kx::WriteAudioData);
    PutPointer(expected, 448, &kx::CloseMediaFile);
    PutPointer(expected, 456, &kx::WriteAudioExtraData);
    PutU64(expected, 472, row == 0 ? 1 : 0);
    if (!audio_only) {
      PutPointer(expected, 440, &kx::WriteVideoData);
      PutPointer(expected, 464, &kx::WriteVideoExtraData);
      PutPointer(expected, 480, &kx::SetDisplayAspectRatio);
    }
    EXPECT_EQ(Memory(TableBytes(table) + row * kRecordSize, kRecordSize), expected);
  }
}

TEST(SingleStreamCatalogue, AudioOnlyRowHasNullVideoSlotsAndZeroFlag) {
  const uint8_t* mka = TableBytes(GetFileFormats()) + 3 * kRecordSize;
  const Bytes zero(8, 0);
  for (size_t offset : {416U, 440U, 464U, 472U, 480U}) {
    SCOPED_TRACE(offset);
    EXPECT_EQ(Memory(mka + offset, 8), zero);
  }
  for (size_t offset : {408U, 424U, 432U, 448U, 456U}) {
    SCOPED_TRACE(offset);
    EXPECT_NE(Memory(mka + offset, 8), zero);
  }
}

TEST(SingleStreamCatalogue, EndsWithAZeroRecordAtOffset2440) {
  const uint8_t* table = TableBytes(GetFileFormats());
  EXPECT_EQ(Memory(table + 2440, kRecordSize), Bytes(kRecordSize, 0));
  for (size_t row = 0; row < kRowCount; ++row) {
    EXPECT_NE(Memory(table + row * kRecordSize, 4), Bytes(4, 0)) << "row " << row;
  }
}

TEST(SingleStreamCatalogue, LookupByFourCCAlone) {
  const FileFormat* table = GetFileFormats();
  for (size_t row = 0; row < kRowCount; ++row) {
    EXPECT_EQ(kx::FindFileFormat(table[row].fourcc), &table[row]) << row;
  }
  EXPECT_EQ(kx::FindFileFormat(KX_FOURCC('A', 'V', 'I', ' ')), nullptr);
  EXPECT_EQ(kx::FindFileFormat(KX_FOURCC('m', 'k', 'v', ' ')), nullptr);  // case matters
  EXPECT_EQ(kx::FindFileFormat(0), nullptr);  // the terminator is not a format
}

// ---- Multi-stream table ----

TEST(MultiStreamCatalogue, CodecListsHoldTheFormatsCodesInOrder) {
  ExpectCodecLists(GetFileMultiStreamFormats(), kAudioLists,
                   {&kKmkvVideoMulti, &kMkvVideoMulti, &kHmkvVideo, nullptr, &kWebmVideo});
}

TEST(MultiStreamCatalogue, EveryRecordMatchesByteForByte) {
  const FileMultiStreamFormat* table = GetFileMultiStreamFormats();
  for (size_t row = 0; row < kRowCount; ++row) {
    SCOPED_TRACE(kRowTexts[row].fourcc);
    Bytes expected = DescribedRecord(kRowTexts[row]);
    PutPointer(expected, 408, table[row].audioCodecs);
    PutPointer(expected, 416, table[row].videoCodecs);
    // 424 is the reserved pointer and stays null.
    PutPointer(expected, 432, &kx::CreateMediaFileMultiStream);
    PutPointer(expected, 440, &kx::AddStreamInfoMultiStream);
    PutPointer(expected, 448, &kx::InitMediaFileMultiStream);
    PutPointer(expected, 456, &kx::WriteSampleMultiStream);
    PutPointer(expected, 464, &kx::CloseMediaFileMultiStream);
    PutPointer(expected, 472, &kx::WriteExtraDataMultiStream);
    PutU64(expected, 480, 1);
    EXPECT_EQ(Memory(TableBytes(table) + row * kRecordSize, kRecordSize), expected);
  }
}

TEST(MultiStreamCatalogue, AudioOnlyRowLacksOnlyTheVideoList) {
  const uint8_t* mka = TableBytes(GetFileMultiStreamFormats()) + 3 * kRecordSize;
  const Bytes zero(8, 0);
  for (size_t offset = 408; offset < kRecordSize; offset += 8) {
    SCOPED_TRACE(offset);
    if (offset == 416 || offset == 424) {
      EXPECT_EQ(Memory(mka + offset, 8), zero);
    } else {
      EXPECT_NE(Memory(mka + offset, 8), zero);
    }
  }
}

TEST(MultiStreamCatalogue, EndsWithAZeroRecordAtOffset2440) {
  const uint8_t* table = TableBytes(GetFileMultiStreamFormats());
  EXPECT_EQ(Memory(table + 2440, kRecordSize), Bytes(kRecordSize, 0));
}

// ---- Both tables ----

TEST(Catalogues, DifferOnlyWhereTheFormatsSaySo) {
  const FileFormat* single = GetFileFormats();
  const FileMultiStreamFormat* multi = GetFileMultiStreamFormats();
  for (size_t row = 0; row < kRowCount; ++row) {
    SCOPED_TRACE(kRowTexts[row].fourcc);
    // FourCC and texts are the same in both tables.
    EXPECT_EQ(Memory(&single[row], 408), Memory(&multi[row], 408));
    EXPECT_EQ(single[row].audioCodecs, multi[row].audioCodecs);
  }
  // "HMKV" and "WEBM" offer the same video codecs through either interface.
  EXPECT_EQ(ListMemory(single[2].videoCodecs, kHmkvVideo.size()),
            ListMemory(multi[2].videoCodecs, kHmkvVideo.size()));
  EXPECT_EQ(ListMemory(single[4].videoCodecs, kWebmVideo.size()),
            ListMemory(multi[4].videoCodecs, kWebmVideo.size()));
}

TEST(Catalogues, RepeatedCallsReturnTheSameTables) {
  const FileFormat* single = GetFileFormats();
  const FileMultiStreamFormat* multi = GetFileMultiStreamFormats();
  const Bytes single_before = Memory(single, 6 * kRecordSize);
  const Bytes multi_before = Memory(multi, 6 * kRecordSize);
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(GetFileFormats(), single);
    EXPECT_EQ(GetFileMultiStreamFormats(), multi);
  }
  EXPECT_EQ(Memory(single, 6 * kRecordSize), single_before);
  EXPECT_EQ(Memory(multi, 6 * kRecordSize), multi_before);
}

// ---- Log lines ----

TEST(CatalogueExports, LogOneLineEach) {
  const kx::test::LogCapture log;
  GetFileFormats();
  EXPECT_EQ(log.Text(), "kx_mkv.dll: Return file formats...\n");

  log.Clear();
  GetFileMultiStreamFormats();
  // The format carries its own line end, so nothing is added to it.
  EXPECT_EQ(log.Text(), "kx_mkv: GetFileMultiStreamFormats... \n");

  log.Clear();
  GetFileFormats();
  GetFileMultiStreamFormats();
  GetFileFormats();
  EXPECT_EQ(log.Text(),
            "kx_mkv.dll: Return file formats...\n"
            "kx_mkv: GetFileMultiStreamFormats... \n"
            "kx_mkv.dll: Return file formats...\n");
}

}  // namespace
