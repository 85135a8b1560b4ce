// Drives the whole module through its single-stream table (first byte even)
// or its multi-stream table (odd) with the rest of the fuzzer's bytes read
// front to back into the records and samples a host hands over: parameters,
// samples, frame tables and configuration data of any layout (lengths that
// lie included), sent to any stream index, before and after initialisation.
// The file goes to a virtual ".iso:" target, so every muxer path runs without
// touching the disk.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace {

// Past the end everything is 0.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}
  bool empty() const { return position_ >= size_; }
  uint8_t Byte() { return position_ < size_ ? data_[position_++] : 0; }
  uint16_t Word() { return static_cast<uint16_t>(Byte() | Byte() << 8); }
  std::vector<uint8_t> Bytes(size_t n) {
    std::vector<uint8_t> bytes;
    while (n-- > 0 && !empty()) bytes.push_back(data_[position_++]);
    return bytes;
  }

  // Picture size and rate, then sample rate and channels.
  void Formats(MediaFileParams& params) {
    params.video.width = static_cast<int16_t>(Word());
    params.video.height = static_cast<int16_t>(Word());
    params.video.frameRate = Byte();
    params.audio.sampleRate = Word();
    params.audio.channels = Byte();
  }

  // A sample's payload (up to 2047 bytes) and its start: whole milliseconds
  // either way and, now and then, a jump far ahead as a broken host clock
  // might give.
  std::vector<uint8_t> Sample(uint8_t op, int64_t& time) {
    std::vector<uint8_t> bytes = Bytes(Word() % 2048);
    time += static_cast<int8_t>(Byte()) * 10000LL;
    if ((op & 0x60) == 0x60 && time < (int64_t{1} << 60)) time += int64_t{Word()} << 40;
    return bytes;
  }

  // A frame table of up to 8 frames whose sizes may lie, kept in `table`.
  const FrameSizeTable* Frames(std::vector<uint32_t>& table) {
    table.assign(1 + 8, 0);
    const int32_t count = static_cast<int32_t>(Byte() % 9) - 1;
    std::memcpy(table.data(), &count, 4);
    for (int i = 1; i <= 8; ++i) table[i] = Byte();
    return reinterpret_cast<const FrameSizeTable*>(table.data());
  }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
};

uint32_t Code(const char (&text)[5]) {
  uint32_t code = 0;
  std::memcpy(&code, text, 4);
  return code;
}

// Null instead of the address of an empty buffer, as a host might pass.
const uint8_t* DataOrNull(const std::vector<uint8_t>& bytes) {
  return bytes.empty() ? nullptr : bytes.data();
}

void SingleStream(Input& in) {
  static const uint32_t kContainers[] = {Code("MKV "), Code("KMKV"), Code("HMKV"), Code("MKA "),
                                         Code("WEBM")};
  static const uint32_t kVideo[] = {Code("H264"), Code("I264"), Code("HEVC"), Code("VP9 "),
                                    Code("MP2V"), Code("B264"), Code("AV1 "), Code("DIV3")};
  static const uint32_t kAudio[] = {Code("AAC "), Code("VBIS"), Code("OPUS"),
                                    Code("MP3 "), Code("KAAC"), Code("AC3 ")};
  const FileFormat& row = GetFileFormats()[1];  // every row shares the same functions

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
  if (handle == nullptr) return;
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
}

void MultiStream(Input& in) {
  static const uint32_t kContainers[] = {Code("MKV "), Code("KMKV"), Code("HMKV"),
                                         Code("MKA "), Code("WEBM"), Code("AVI ")};
  static const uint32_t kVideo[] = {Code("H264"), Code("I264"), Code("W264"), Code("HEVC"),
                                    Code("W265"), Code("VP9 "), Code("VP8 "), Code("MP2V")};
  static const uint32_t kAudio[] = {Code("AAC "), Code("VBIS"), Code("OPUS"), Code("AC3 ")};
  static const uint32_t kSubtitle[] = {Code("SRT "), Code("ASS "), Code("SSA "), Code("PGS ")};
  constexpr int kIndexes = 6;
  const FileMultiStreamFormat& row = GetFileMultiStreamFormats()[0];  // one function set

  void* handle = row.CreateMediaFileMultiStream();
  if (handle == nullptr) return;
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
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Input in(data, size);
  (in.Byte() & 1) != 0 ? MultiStream(in) : SingleStream(in);
  return 0;
}
