// The multi-stream table: every track announced with its own record, then
// samples and length-prefixed configuration named by OutStreamIndex.
#include <cstring>

#include "src/platform/utf16.h"
#include "tools/kxmux/output.h"

namespace kxmux {
namespace {

void AppendBlock(std::vector<uint8_t>* out, const uint8_t* data, size_t size) {
  const auto length = static_cast<uint32_t>(size);
  for (int i = 0; i < 4; ++i) {
    out->push_back(static_cast<uint8_t>(length >> (8 * i)));
  }
  if (size > 0) {
    out->insert(out->end(), data, data + size);
  }
}

int32_t StreamType(Kind kind) {
  switch (kind) {
    case Kind::kVideo:
      return KX_STREAM_VIDEO;
    case Kind::kAudio:
      return KX_STREAM_AUDIO;
    case Kind::kSubtitle:
      break;
  }
  return KX_STREAM_SUBPIC_EXTERNAL;
}

class MultiTableOutput : public Output {
 public:
  MultiTableOutput(const FileMultiStreamFormat& row, void* handle) : row_(row), handle_(handle) {}
  ~MultiTableOutput() override { Close(); }

  // Two blocks, each behind its 32-bit little-endian length.
  void VideoConfiguration(const Track& track, const std::vector<uint8_t>& first,
                          const std::vector<uint8_t>& second) override {
    std::vector<uint8_t> data;
    AppendBlock(&data, first.data(), first.size());
    AppendBlock(&data, second.data(), second.size());
    Send(track, data);
  }
  void Configuration(const Track& track, const uint8_t* data, size_t size) override {
    std::vector<uint8_t> block;
    AppendBlock(&block, data, size);
    Send(track, block);
  }
  bool Write(const Track& track, MediaSample& sample) override {
    row_.WriteSampleMultiStream(handle_, track.out_index, &sample, nullptr);
    return true;
  }
  [[nodiscard]] bool reports_refusals() const override { return false; }
  void Close() override {
    if (handle_ != nullptr) {
      row_.CloseMediaFileMultiStream(handle_);
    }
    handle_ = nullptr;
  }

 private:
  void Send(const Track& track, const std::vector<uint8_t>& data) {
    row_.WriteExtraDataMultiStream(handle_, track.out_index, data.data(),
                                   static_cast<int32_t>(data.size()));
  }
  const FileMultiStreamFormat& row_;
  void* handle_;
};

}  // namespace

std::unique_ptr<Output> OpenMultiTable(const FileMultiStreamFormat& row, const std::string& path,
                                       AVFormatContext* input,
                                       const std::vector<const Track*>& tracks,
                                       std::string* error) {
  void* handle = row.CreateMediaFileMultiStream();
  if (handle == nullptr) {
    *error = "the module refused to make a multi-stream handle";
    return nullptr;
  }
  auto output = std::make_unique<MultiTableOutput>(row, handle);
  for (const Track* track : tracks) {
    const bool video = track->kind == Kind::kVideo;
    const std::unique_ptr<MediaFileParams> params = MakeParams(
        row.fourcc, input, video ? track : nullptr, track->kind == Kind::kAudio ? track : nullptr,
        track->kind == Kind::kSubtitle ? track : nullptr);
    // Through this table the host's record carries the display aspect.
    const auto aspect = video ? DisplayAspect(input, *track) : std::nullopt;
    if (aspect) {
      params->video.flags = 1;
      params->video.aspectNumerator = aspect->first;
      params->video.aspectDenominator = aspect->second;
    }
    row.AddStreamInfoMultiStream(handle, StreamType(track->kind), 0,
                                 static_cast<uint32_t>(track->stream->index), track->out_index,
                                 params.get());
  }
  const std::u16string wide = kx::platform::Utf8ToUtf16(path);
  if (row.InitMediaFileMultiStream(handle, row.fourcc, wide.c_str(), 0) == 0) {
    *error = "the module refused to create " + path +
             " (InitMediaFileMultiStream failed; --log FILE records the module's reason)";
    return nullptr;
  }
  return output;
}

}  // namespace kxmux
