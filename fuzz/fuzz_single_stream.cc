// Drives the whole module through the single-stream function table with
// parameters, samples, frame tables and configuration data taken from the
// fuzzer's bytes. The file goes to a virtual ".iso:" target, so every muxer
// path runs without touching the disk.
#include "fuzz/fuzz_input.h"

using fuzz::Code;
using fuzz::DataOrNull;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const uint32_t kContainers[] = {Code("MKV "), Code("KMKV"), Code("HMKV"), Code("MKA "),
                                         Code("WEBM")};
  static const uint32_t kVideo[] = {Code("H264"), Code("I264"), Code("HEVC"), Code("VP9 "),
                                    Code("MP2V"), Code("B264"), Code("AV1 "), Code("DIV3")};
  static const uint32_t kAudio[] = {Code("AAC "), Code("VBIS"), Code("OPUS"),
                                    Code("MP3 "), Code("KAAC"), Code("AC3 ")};
  fuzz::Input in(data, size);
  const FileFormat* formats = GetFileFormats();
  const FileFormat& row = formats[1];  // every row shares the same functions

  MediaFileParams params{};
  const uint8_t choice = in.Byte();
  params.containerFourcc = kContainers[choice % 5];
  params.video.fourcc = kVideo[(choice >> 3) % 8];
  params.audio.fourcc = kAudio[in.Byte() % 6];
  const uint8_t flags = in.Byte();
  params.noVideo = flags & 1;
  params.noAudio = (flags >> 1) & 1;
  params.video.projection = (flags & 4) != 0 ? 360 : 0;
  in.Formats(params);

  AspectRatioRecord aspect{};
  aspect.numerator = static_cast<int8_t>(in.Byte());
  aspect.denominator = static_cast<int8_t>(in.Byte());
  row.SetDisplayAspectRatio(&aspect);

  void* handle = row.CreateMediaFile(u"fuzz.iso:1", &params);
  if (handle == nullptr) return 0;
  int64_t time = 0;
  while (!in.empty()) {
    const uint8_t op = in.Byte();
    std::vector<uint8_t> bytes = in.Sample(op, time);
    switch (op % 4) {
      case 0: {
        MediaSample sample{};
        sample.videoData = bytes.data();
        sample.videoSize = static_cast<int32_t>(bytes.size());
        sample.keyframe = op & 0x10;
        sample.start = time;
        sample.duration = static_cast<int8_t>(op) * 1000;
        row.WriteVideoData(handle, &sample);
        break;
      }
      case 1: {
        MediaSample sample{};
        sample.audioData = bytes.data();
        sample.audioSize = static_cast<int32_t>(bytes.size());
        sample.start = time;
        sample.duration = op * 2000;
        std::vector<uint32_t> table;
        row.WriteAudioData(handle, &sample, (op & 0x10) != 0 ? in.Frames(table) : nullptr);
        break;
      }
      case 2: {
        const size_t split = bytes.empty() ? 0 : in.Byte() % (bytes.size() + 1);
        const std::vector<uint8_t> first(bytes.begin(), bytes.begin() + split);
        const std::vector<uint8_t> second(bytes.begin() + split, bytes.end());
        row.WriteVideoExtraData(handle, DataOrNull(second), static_cast<int32_t>(second.size()),
                                DataOrNull(first), static_cast<int32_t>(first.size()));
        break;
      }
      default:
        row.WriteAudioExtraData(handle, DataOrNull(bytes), static_cast<int32_t>(bytes.size()));
        break;
    }
  }
  row.CloseMediaFile(handle);
  return 0;
}
