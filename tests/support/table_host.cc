#include "tests/support/table_host.h"

#include <cstring>
#include <stdexcept>

namespace kx::test {

uint32_t Code(const char* text) {
  uint32_t code = 0;
  std::memcpy(&code, text, 4);
  return code;
}

const FileFormat& Row(const char* container) {
  for (const FileFormat* row = GetFileFormats(); row->fourcc != 0; ++row)
    if (row->fourcc == Code(container)) return *row;
  throw std::runtime_error(std::string("no catalogue row ") + container);
}

MediaFileParams FileParams(const char* container, const char* video, int width, int height,
                           double fps, const char* audio, int sample_rate, int channels) {
  MediaFileParams params{};
  params.containerFourcc = Code(container);
  params.noVideo = video == nullptr ? 1 : 0;
  if (video != nullptr) {
    params.video.fourcc = Code(video);
    params.video.width = width;
    params.video.height = height;
    params.video.frameRate = fps;
  }
  params.noAudio = audio == nullptr ? 1 : 0;
  if (audio != nullptr) {
    params.audio.fourcc = Code(audio);
    params.audio.sampleRate = sample_rate;
    params.audio.channels = channels;
    params.audio.bitsPerSample = 16;
  }
  return params;
}

TableFile::TableFile(const FileFormat& row, const std::u16string& path,
                     const MediaFileParams& params)
    : row_(row), handle_(row.CreateMediaFile(path.c_str(), &params)) {}

int32_t TableFile::Video(Bytes data, int64_t start, int64_t duration, bool key) {
  MediaSample sample{};
  sample.videoData = data.data();
  sample.videoSize = static_cast<int32_t>(data.size());
  sample.keyframe = key ? 1 : 0;
  sample.start = start;
  sample.duration = static_cast<int32_t>(duration);
  return row_.WriteVideoData(handle_, &sample);
}

int32_t TableFile::Audio(Bytes data, int64_t start, int64_t duration,
                         const std::vector<uint32_t>& frame_sizes) {
  MediaSample sample{};
  sample.audioData = data.data();
  sample.audioSize = static_cast<int32_t>(data.size());
  sample.start = start;
  sample.duration = static_cast<int32_t>(duration);
  // A FrameSizeTable: the count, then the sizes.
  std::vector<uint32_t> table = {static_cast<uint32_t>(frame_sizes.size())};
  table.insert(table.end(), frame_sizes.begin(), frame_sizes.end());
  const auto* frames = reinterpret_cast<const FrameSizeTable*>(table.data());
  return row_.WriteAudioData(handle_, &sample, frame_sizes.empty() ? nullptr : frames);
}

void TableFile::VideoExtra(const Bytes& first, const Bytes& second) {
  row_.WriteVideoExtraData(handle_, second.data(), static_cast<int32_t>(second.size()),
                           first.data(), static_cast<int32_t>(first.size()));
}

void TableFile::AudioExtra(const Bytes& config) {
  row_.WriteAudioExtraData(handle_, config.data(), static_cast<int32_t>(config.size()));
}

int32_t TableFile::Close() {
  if (handle_ == nullptr) return 0;
  const int32_t result = row_.CloseMediaFile(handle_);
  handle_ = nullptr;
  return result;
}

}  // namespace kx::test
