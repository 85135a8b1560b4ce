// Drives the whole module through the multi-stream function table: streams
// announced with records and indexes taken from the fuzzer's bytes, then
// samples, frame tables and extra data of any layout (lengths that lie
// included) sent to any index, before and after initialisation. The file
// goes to a virtual ".iso:" target.
#include "fuzz/fuzz_input.h"

using fuzz::Code;
using fuzz::DataOrNull;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const uint32_t kContainers[] = {Code("MKV "), Code("KMKV"), Code("HMKV"),
                                         Code("MKA "), Code("WEBM"), Code("AVI ")};
  static const uint32_t kVideo[] = {Code("H264"), Code("I264"), Code("W264"), Code("HEVC"),
                                    Code("W265"), Code("VP9 "), Code("VP8 "), Code("MP2V")};
  static const uint32_t kAudio[] = {Code("AAC "), Code("VBIS"), Code("OPUS"), Code("AC3 ")};
  static const uint32_t kSubtitle[] = {Code("SRT "), Code("ASS "), Code("SSA "), Code("PGS ")};
  constexpr int kIndexes = 6;
  fuzz::Input in(data, size);
  const FileMultiStreamFormat& row = GetFileMultiStreamFormats()[0];  // one function set

  void* handle = row.CreateMediaFileMultiStream();
  if (handle == nullptr) return 0;
  // The sample record's layout depends on the stream type, so a host gives
  // one index one type; other type codes may share it.
  int32_t type_of[kIndexes] = {};
  for (int n = in.Byte() % 6; n > 0; --n) {
    const uint8_t choice = in.Byte();
    const auto index = static_cast<uint32_t>(in.Byte() % kIndexes);
    int32_t type = 2 + choice % 6;
    if (type <= 5) {
      type = type_of[index] != 0 ? type_of[index] : type;
      type_of[index] = type;
    }
    MediaFileParams record{};
    record.video.fourcc = kVideo[(choice >> 3) % 8];
    record.audio.fourcc = kAudio[(choice >> 3) % 4];
    record.subtitle.fourcc = kSubtitle[(choice >> 5) % 4];
    record.video.flags = choice >> 7;
    record.video.lightPacingOrAdditionsMode = in.Byte() & 1;
    in.Formats(record);
    const uint8_t flags = in.Byte();
    record.noVideo = flags & 1;
    record.noAudio = (flags >> 1) & 1;
    // Languages without a terminating NUL.
    if ((flags & 4) != 0) {
      for (char16_t& c : record.audio.language) c = u'x';
      for (char16_t& c : record.subtitle.language) c = u'y';
    }
    row.AddStreamInfoMultiStream(handle, type, 0, n, index, &record);
  }
  const uint8_t setup = in.Byte();
  for (int i = 0; i < 1 + (setup >> 7); ++i) {  // now and then a second Init
    row.InitMediaFileMultiStream(handle, kContainers[setup % 6], u"fuzz.iso:1", 0);
  }

  int64_t time = 0;
  while (!in.empty()) {
    const uint8_t op = in.Byte();
    const auto index = static_cast<uint32_t>(in.Byte() % (kIndexes + 1));
    std::vector<uint8_t> bytes = in.Sample(op, time);
    if ((op & 3) == 3) {
      row.WriteExtraDataMultiStream(handle, index, DataOrNull(bytes),
                                    static_cast<int32_t>(bytes.size()) - (op >> 7));
      continue;
    }
    MediaSample sample{};
    sample.start = time;
    sample.duration = static_cast<int8_t>(op) * 1000;
    const int32_t type = index < kIndexes ? type_of[index] : 0;
    std::vector<uint32_t> table;
    const FrameSizeTable* frames = nullptr;
    if (type == 3) {
      sample.audioData = bytes.data();
      sample.audioSize = static_cast<int32_t>(bytes.size());
      if ((op & 0x10) != 0) frames = in.Frames(table);
    } else if (type == 5) {
      sample.subtitleData = bytes.data();
      sample.subtitleSize = static_cast<int32_t>(bytes.size());
    } else {
      const size_t split = bytes.empty() ? 0 : in.Byte() % (bytes.size() + 1);
      sample.videoData = bytes.data();
      sample.videoSize = static_cast<int32_t>(split);
      sample.additionalData = bytes.data() + split;
      sample.additionalSize = static_cast<uint32_t>(bytes.size() - split);
      sample.keyframe = op & 0x10;
    }
    row.WriteSampleMultiStream(handle, index, (op & 3) == 2 ? nullptr : &sample, frames);
  }
  row.CloseMediaFileMultiStream(handle);
  return 0;
}
