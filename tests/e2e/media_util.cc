#include "tests/e2e/media_util.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "tests/support/matroska_file.h"

namespace kx::test {
namespace {

int64_t Ticks(double seconds) { return static_cast<int64_t>(seconds * 1e7 + 0.5); }

// Appends the frame [at, at + length) as the next sample of a stream whose
// frames all last `frame_seconds`.
void AppendFrame(std::vector<Sample>& samples, const std::vector<uint8_t>& stream, size_t at,
                 size_t length, double frame_seconds) {
  Sample sample;
  sample.start = Ticks(static_cast<double>(samples.size()) * frame_seconds);
  sample.duration = static_cast<int32_t>(Ticks(frame_seconds));
  sample.data.assign(stream.begin() + static_cast<std::ptrdiff_t>(at),
                     stream.begin() + static_cast<std::ptrdiff_t>(at + length));
  samples.push_back(std::move(sample));
}

}  // namespace

std::vector<NalUnit> AnnexBUnits(const std::vector<uint8_t>& s) {
  std::vector<size_t> starts;
  std::vector<size_t> code_begins;
  for (size_t i = 0; i + 3 <= s.size(); ++i) {
    if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1) {
      code_begins.push_back(i > 0 && s[i - 1] == 0 ? i - 1 : i);
      starts.push_back(i + 3);
      i += 2;
    }
  }
  std::vector<NalUnit> units;
  for (size_t k = 0; k < starts.size(); ++k) {
    units.push_back(
        {code_begins[k], starts[k], k + 1 < starts.size() ? code_begins[k + 1] : s.size()});
  }
  return units;
}

int RunCommand(const std::string& command, std::string* output) {
  std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
  if (pipe == nullptr) return -1;
  std::string text;
  std::array<char, 4096> buffer{};
  size_t n = 0;
  while ((n = std::fread(buffer.data(), 1, buffer.size(), pipe)) > 0) text.append(buffer.data(), n);
  const int status = pclose(pipe);
  if (output != nullptr) *output = text;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string TempPath(const std::string& name) {
  const auto dir = std::filesystem::temp_directory_path() / "kx_mkv_e2e";
  std::filesystem::create_directories(dir);
  return (dir / name).string();
}

bool MakeWithFfmpeg(const std::string& arguments, const std::string& path) {
  if (std::filesystem::exists(path)) return true;
  const std::string part = path + ".tmp";
  std::string output;
  if (RunCommand("ffmpeg -nostdin -y -v error " + arguments + " '" + part + "'", &output) != 0) {
    std::fprintf(stderr, "ffmpeg failed: %s\n", output.c_str());
    return false;
  }
  std::filesystem::rename(part, path);
  return true;
}

std::vector<Sample> SplitH264AccessUnits(const std::vector<uint8_t>& stream, double fps) {
  std::vector<Sample> samples;
  for (const NalUnit& unit : AnnexBUnits(stream)) {
    if (unit.end <= unit.begin) continue;
    const uint8_t type = stream[unit.begin] & 0x1F;
    if (type == 9 || samples.empty()) {
      Sample sample;
      sample.start = Ticks(static_cast<double>(samples.size()) / fps);
      sample.duration = static_cast<int32_t>(Ticks(1.0 / fps));
      sample.key = false;
      samples.push_back(std::move(sample));
    }
    Sample& current = samples.back();
    const uint8_t code[] = {0, 0, 0, 1};
    current.data.insert(current.data.end(), code, code + 4);
    current.data.insert(current.data.end(),
                        stream.begin() + static_cast<std::ptrdiff_t>(unit.begin),
                        stream.begin() + static_cast<std::ptrdiff_t>(unit.end));
    if (type == 5) current.key = true;
  }
  return samples;
}

void FindH264ParameterSets(const std::vector<uint8_t>& stream, std::vector<uint8_t>* sps,
                           std::vector<uint8_t>* pps) {
  for (const NalUnit& unit : AnnexBUnits(stream)) {
    if (unit.end <= unit.begin) continue;
    const uint8_t type = stream[unit.begin] & 0x1F;
    std::vector<uint8_t>* target = type == 7 ? sps : type == 8 ? pps : nullptr;
    if (target != nullptr && target->empty()) {
      target->assign(stream.begin() + static_cast<std::ptrdiff_t>(unit.begin),
                     stream.begin() + static_cast<std::ptrdiff_t>(unit.end));
    }
  }
}

std::vector<Sample> SplitAdts(const std::vector<uint8_t>& stream, std::vector<uint8_t>* config) {
  static constexpr int kRates[] = {96000, 88200, 64000, 48000, 44100, 32000, 24000,
                                   22050, 16000, 12000, 11025, 8000,  7350};
  std::vector<Sample> samples;
  size_t i = 0;
  while (i + 7 <= stream.size() && stream[i] == 0xFF && (stream[i + 1] & 0xF0) == 0xF0) {
    const bool crc = (stream[i + 1] & 1) == 0;
    const size_t header = crc ? 9 : 7;
    const size_t length =
        ((stream[i + 3] & 3u) << 11) | (stream[i + 4] << 3) | (stream[i + 5] >> 5);
    if (length < header || i + length > stream.size()) break;
    const int object_type = (stream[i + 2] >> 6) + 1;
    const int rate_index = (stream[i + 2] >> 2) & 0xF;
    const int channels = ((stream[i + 2] & 1) << 2) | (stream[i + 3] >> 6);
    if (config != nullptr && config->empty()) {
      const int asc = (object_type << 11) | (rate_index << 7) | (channels << 3);
      *config = {static_cast<uint8_t>(asc >> 8), static_cast<uint8_t>(asc)};
    }
    AppendFrame(samples, stream, i + header, length - header,
                1024.0 / kRates[std::min(rate_index, 12)]);
    i += length;
  }
  return samples;
}

std::vector<Sample> SplitMp3(const std::vector<uint8_t>& stream) {
  static constexpr int kBitrates[] = {0,   32,  40,  48,  56,  64,  80, 96,
                                      112, 128, 160, 192, 224, 256, 320};
  static constexpr int kRates[] = {44100, 48000, 32000};
  std::vector<Sample> samples;
  size_t i = 0;
  // Skip an ID3 tag if ffmpeg wrote one.
  if (stream.size() > 10 && std::memcmp(stream.data(), "ID3", 3) == 0) {
    i = 10 + ((stream[6] & 0x7Fu) << 21 | (stream[7] & 0x7Fu) << 14 | (stream[8] & 0x7Fu) << 7 |
              (stream[9] & 0x7Fu));
  }
  while (i + 4 <= stream.size() && stream[i] == 0xFF && (stream[i + 1] & 0xFE) == 0xFA) {
    const int bitrate_index = stream[i + 2] >> 4;
    const int rate_index = (stream[i + 2] >> 2) & 3;
    if (bitrate_index == 0 || bitrate_index == 15 || rate_index == 3) break;
    const int padding = (stream[i + 2] >> 1) & 1;
    const size_t length =
        144 * kBitrates[bitrate_index] * 1000 / kRates[rate_index] + static_cast<size_t>(padding);
    if (i + length > stream.size()) break;
    AppendFrame(samples, stream, i, length, 1152.0 / kRates[rate_index]);
    i += length;
  }
  return samples;
}

std::vector<Sample> SplitAc3(const std::vector<uint8_t>& stream) {
  // Frame sizes in 16-bit words at 48 kHz, by frmsizecod / 2.
  static constexpr int kWords48k[] = {64,  80,  96,  112, 128, 160, 192,  224,  256, 320,
                                      384, 448, 512, 640, 768, 896, 1024, 1152, 1280};
  std::vector<Sample> samples;
  size_t i = 0;
  while (i + 6 <= stream.size() && stream[i] == 0x0B && stream[i + 1] == 0x77) {
    const int fscod = stream[i + 4] >> 6;
    const int frmsizecod = stream[i + 4] & 0x3F;
    if (fscod != 0 || frmsizecod / 2 >= 19) break;  // the tests use 48 kHz
    const size_t length = static_cast<size_t>(kWords48k[frmsizecod / 2]) * 2;
    if (i + length > stream.size()) break;
    AppendFrame(samples, stream, i, length, 1536.0 / 48000);
    i += length;
  }
  return samples;
}

std::vector<Sample> ReadIvf(const std::vector<uint8_t>& stream, bool vp9) {
  std::vector<Sample> samples;
  if (stream.size() < 32 || std::memcmp(stream.data(), "DKIF", 4) != 0) return samples;
  auto le32 = [&stream](size_t at) {
    return static_cast<uint32_t>(stream[at]) | stream[at + 1] << 8 | stream[at + 2] << 16 |
           static_cast<uint32_t>(stream[at + 3]) << 24;
  };
  const uint32_t rate = le32(16);
  const uint32_t scale = le32(20);
  const double frame_seconds = static_cast<double>(scale) / rate;
  size_t i = stream[6] | stream[7] << 8;
  while (i + 12 <= stream.size()) {
    const size_t size = le32(i);
    const uint64_t pts = le32(i + 4) | static_cast<uint64_t>(le32(i + 8)) << 32;
    i += 12;
    if (size == 0 || i + size > stream.size()) break;
    Sample sample;
    sample.start = Ticks(static_cast<double>(pts) * frame_seconds);
    sample.duration = static_cast<int32_t>(Ticks(frame_seconds));
    sample.data.assign(stream.begin() + static_cast<std::ptrdiff_t>(i),
                       stream.begin() + static_cast<std::ptrdiff_t>(i + size));
    const uint8_t first = sample.data[0];
    sample.key = vp9 ? (first & 0xC0) == 0x80 && (first & 0x0C) == 0 : (first & 1) == 0;
    samples.push_back(std::move(sample));
    i += size;
  }
  return samples;
}

const FileFormat& Row(const char (&fourcc)[5]) {
  uint32_t code = 0;
  std::memcpy(&code, fourcc, 4);
  const FileFormat* row = GetFileFormats();
  while (row->fourcc != 0 && row->fourcc != code) ++row;
  return *row;
}

MediaFileParams VideoAudioParams(const char (&container)[5], const char (&video)[5], int width,
                                 int height, double fps, const char (&audio)[5], int sample_rate,
                                 int channels) {
  MediaFileParams params{};
  std::memcpy(&params.containerFourcc, container, 4);
  std::memcpy(&params.video.fourcc, video, 4);
  params.video.width = width;
  params.video.height = height;
  params.video.frameRate = fps;
  params.video.bitCount = 24;
  std::memcpy(&params.audio.fourcc, audio, 4);
  params.audio.sampleRate = sample_rate;
  params.audio.channels = channels;
  params.audio.bitsPerSample = 16;
  return params;
}

bool WriteFile(const FileFormat& row, const std::u16string& path, const MediaFileParams& params,
               const Feed& feed) {
  void* handle = row.CreateMediaFile(path.c_str(), &params);
  if (handle == nullptr) return false;
  auto send_extra_data = [&] {
    if (!feed.sps.empty() || !feed.pps.empty()) {
      row.WriteVideoExtraData(handle, feed.pps.empty() ? nullptr : feed.pps.data(),
                              static_cast<int32_t>(feed.pps.size()),
                              feed.sps.empty() ? nullptr : feed.sps.data(),
                              static_cast<int32_t>(feed.sps.size()));
    }
    if (!feed.audio_config.empty()) {
      row.WriteAudioExtraData(handle, feed.audio_config.data(),
                              static_cast<int32_t>(feed.audio_config.size()));
    }
  };
  if (!feed.extra_data_after_first_flush) send_extra_data();
  size_t v = 0;
  size_t a = 0;
  size_t written = 0;
  while (v < feed.video.size() || a < feed.audio.size()) {
    const bool take_video = a >= feed.audio.size() ||
                            (v < feed.video.size() && feed.video[v].start <= feed.audio[a].start);
    // The module may rewrite video data in place (NAL-unit path): send copies.
    if (take_video) {
      const Sample& s = feed.video[v++];
      std::vector<uint8_t> copy = s.data;
      MediaSample sample{};
      sample.videoData = copy.data();
      sample.videoSize = static_cast<int32_t>(copy.size());
      sample.keyframe = s.key ? 1 : 0;
      sample.start = s.start;
      sample.duration = s.duration;
      row.WriteVideoData(handle, &sample);
    } else {
      const Sample& s = feed.audio[a++];
      std::vector<uint8_t> copy = s.data;
      MediaSample sample{};
      sample.audioData = copy.data();
      sample.audioSize = static_cast<int32_t>(copy.size());
      sample.start = s.start;
      sample.duration = s.duration;
      row.WriteAudioData(handle, &sample, nullptr);
    }
    if (++written == 40 && feed.extra_data_after_first_flush) send_extra_data();
  }
  row.CloseMediaFile(handle);
  return true;
}

std::vector<Packet> ProbePackets(const std::string& path, const std::string& stream) {
  std::string output;
  RunCommand("ffprobe -v error -select_streams " + stream +
                 " -show_entries packet=pts,size,flags -of csv=p=0 '" + path + "'",
             &output);
  std::vector<Packet> packets;
  std::istringstream lines(output);
  std::string line;
  while (std::getline(lines, line)) {
    Packet packet;
    char flags[8] = {};
    long long pts = 0;
    long long size = 0;
    if (std::sscanf(line.c_str(), "%lld,%lld,%7s", &pts, &size, flags) == 3) {
      packet.pts_ms = pts;
      packet.size = size;
      packet.key = flags[0] == 'K';
      packets.push_back(packet);
    }
  }
  return packets;
}

}  // namespace kx::test
