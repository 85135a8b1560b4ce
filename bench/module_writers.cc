#include "bench/module_writers.h"

#include <cstring>
#include <memory>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kx::bench {
namespace {

std::u16string Utf16(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

// The parameters both tables are given: VP9 video (its frames go to the
// track unchanged), AAC or Opus audio.
std::unique_ptr<MediaFileParams> Params(const Workload& workload) {
  auto params = std::make_unique<MediaFileParams>();
  params->containerFourcc = KX_FOURCC('M', 'K', 'V', ' ');
  params->video.fourcc = KX_FOURCC('V', 'P', '9', ' ');
  params->video.width = 1280;
  params->video.height = 720;
  params->video.frameRate = 25.0;
  params->noVideo = workload.has_video ? 0 : 1;
  params->audio.fourcc =
      workload.opus ? KX_FOURCC('O', 'P', 'U', 'S') : KX_FOURCC('A', 'A', 'C', ' ');
  params->audio.sampleRate = 48000;
  params->audio.channels = 2;
  params->audio.bitsPerSample = 16;
  return params;
}

MediaSample Sample(const Frame& frame) {
  MediaSample sample{};
  if (frame.video) {
    sample.videoData = const_cast<uint8_t*>(frame.data);  // VP9 is not rewritten
    sample.videoSize = static_cast<int32_t>(frame.size);
    sample.keyframe = frame.key ? 1 : 0;
  } else {
    sample.audioData = const_cast<uint8_t*>(frame.data);
    sample.audioSize = static_cast<int32_t>(frame.size);
  }
  sample.start = frame.start;
  sample.duration = frame.duration;
  return sample;
}

}  // namespace

bool WriteSingleStream(const Workload& workload, const std::string& path) {
  return WriteSingleStreamWith(GetFileFormats(), workload, path);
}

bool WriteMultiStream(const Workload& workload, const std::string& path) {
  return WriteMultiStreamWith(GetFileMultiStreamFormats(), workload, path);
}

bool WriteSingleStreamWith(const FileFormat* formats, const Workload& workload,
                           const std::string& path) {
  const FileFormat* row = formats;
  while (row->fourcc != 0 && row->fourcc != KX_FOURCC('M', 'K', 'V', ' ')) {
    ++row;
  }
  const auto params = Params(workload);
  void* handle = row->CreateMediaFile(Utf16(path).c_str(), params.get());
  if (handle == nullptr) {
    return false;
  }
  row->WriteAudioExtraData(handle, workload.audio_config.data(),
                           static_cast<int32_t>(workload.audio_config.size()));
  bool ok = true;
  for (const Frame& frame : workload.frames) {
    const MediaSample sample = Sample(frame);
    const int32_t taken = frame.video ? row->WriteVideoData(handle, &sample)
                                      : row->WriteAudioData(handle, &sample, nullptr);
    ok = ok && taken == static_cast<int32_t>(frame.size);
  }
  row->CloseMediaFile(handle);
  return ok;
}

bool WriteMultiStreamWith(const FileMultiStreamFormat* formats, const Workload& workload,
                          const std::string& path) {
  const FileMultiStreamFormat* row = formats;
  constexpr uint32_t kMkv = KX_FOURCC('M', 'K', 'V', ' ');
  while (row->fourcc != 0 && row->fourcc != kMkv) {
    ++row;
  }
  const auto params = Params(workload);
  void* handle = row->CreateMediaFileMultiStream();
  if (handle == nullptr) {
    return false;
  }
  // Without video the video entry carries the no-video word, which lets the
  // audio flow into Clusters instead of waiting for a video frame.
  row->AddStreamInfoMultiStream(handle, 2, 0, 0, 0, params.get());
  row->AddStreamInfoMultiStream(handle, 3, 0, 1, 1, params.get());
  bool ok = row->InitMediaFileMultiStream(handle, kMkv, Utf16(path).c_str(), 0) != 0;
  // Audio configuration data travels behind its 32-bit little-endian length.
  const auto length = static_cast<uint32_t>(workload.audio_config.size());
  std::vector<uint8_t> extra(4 + length);
  for (int i = 0; i < 4; ++i) {
    extra[static_cast<size_t>(i)] = static_cast<uint8_t>(length >> (8 * i));
  }
  std::memcpy(extra.data() + 4, workload.audio_config.data(), length);
  row->WriteExtraDataMultiStream(handle, 1, extra.data(), static_cast<int32_t>(extra.size()));
  for (const Frame& frame : workload.frames) {
    if (!ok) {
      break;
    }
    const MediaSample sample = Sample(frame);
    row->WriteSampleMultiStream(handle, frame.video ? 0 : 1, &sample, nullptr);
  }
  row->CloseMediaFileMultiStream(handle);
  return ok;
}

}  // namespace kx::bench
