// The single-stream table: one video and one audio track, the display aspect
// ratio announced before the file is created.
#include <climits>

#include "src/platform/utf16.h"
#include "tools/kxmux/output.h"

namespace kxmux {
namespace {

class SingleTableOutput : public Output {
 public:
  SingleTableOutput(const FileFormat& row, void* handle) : row_(row), handle_(handle) {}
  ~SingleTableOutput() override { Close(); }

  void VideoConfiguration(const Track& /*track*/, const std::vector<uint8_t>& first,
                          const std::vector<uint8_t>& second) override {
    if (row_.WriteVideoExtraData != nullptr) {
      row_.WriteVideoExtraData(handle_, second.empty() ? nullptr : second.data(),
                               static_cast<int32_t>(second.size()), first.data(),
                               static_cast<int32_t>(first.size()));
    }
  }
  void Configuration(const Track& /*track*/, const uint8_t* data, size_t size) override {
    row_.WriteAudioExtraData(handle_, data, static_cast<int32_t>(size));
  }
  bool Write(const Track& track, MediaSample& sample) override {
    return track.kind == Kind::kVideo ? row_.WriteVideoData(handle_, &sample) > 0
                                      : row_.WriteAudioData(handle_, &sample, nullptr) > 0;
  }
  [[nodiscard]] bool reports_refusals() const override { return true; }
  void Close() override {
    if (handle_ != nullptr) {
      row_.CloseMediaFile(handle_);
    }
    handle_ = nullptr;
  }

 private:
  const FileFormat& row_;
  void* handle_;
};

void SetAspectRatio(const FileFormat& row, AVFormatContext* input, const Track& video) {
  if (row.SetDisplayAspectRatio == nullptr) {
    return;
  }
  if (const auto aspect = DisplayAspect(input, video)) {
    AspectRatioRecord record{};
    record.numerator = aspect->first;
    record.denominator = aspect->second;
    row.SetDisplayAspectRatio(&record);
  }
}

}  // namespace

std::unique_ptr<Output> OpenSingleTable(const FileFormat& row, const std::string& path,
                                        AVFormatContext* input, const Track* video,
                                        const Track* audio, std::string* error) {
  const std::unique_ptr<MediaFileParams> params = MakeParams(row.fourcc, input, video, audio);
  if (video != nullptr) {
    SetAspectRatio(row, input, *video);
  }
  const std::u16string wide = kx::platform::Utf8ToUtf16(path);
  void* handle = row.CreateMediaFile(wide.c_str(), params.get());
  if (handle == nullptr) {
    *error = "the module refused to create " + path +
             " (CreateMediaFile failed; --log FILE records the module's reason)";
    return nullptr;
  }
  return std::make_unique<SingleTableOutput>(row, handle);
}

}  // namespace kxmux
