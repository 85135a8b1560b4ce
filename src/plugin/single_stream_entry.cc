// The single-stream function table. A handle is the muxer object itself.
// The kind of muxer is kept in the handle (a virtual interface) rather than in
// a module-wide mode flag; the display aspect ratio, which the host sets
// before the file exists, is the one piece of module-wide state.
#include "src/plugin/single_stream_entry.h"

#include <cstring>
#include <memory>
#include <new>
#include <numeric>

#include "host/yr_log.h"
#include "src/codec/fourcc.h"
#include "src/mkv/codec_ids.h"
#include "src/mkv/mkv_muxer.h"
#include "src/plugin/catalogue.h"
#include "src/plugin/guarded.h"
#include "src/plugin/muxer_factory.h"

namespace kx {
namespace {

// The last record given to SetDisplayAspectRatio, until the next close.
AspectRatioRecord& PendingAspect() {
  static AspectRatioRecord pending{};
  return pending;
}

SingleStreamMuxer* Muxer(void* handle) { return static_cast<SingleStreamMuxer*>(handle); }

}  // namespace

void* CreateMediaFile(const char16_t* path, const MediaFileParams* params) {
  if (path == nullptr || params == nullptr) {
    return nullptr;
  }
  if (FindFileFormat(params->containerFourcc) == nullptr) {
    const std::u16string text = FourCCText(params->containerFourcc);
    HostLogFormat(u"kx_mkv.dll: Can't find the file format[%s].", text.c_str());
    return nullptr;
  }
  const AspectRatioRecord& pending = PendingAspect();
  std::unique_ptr<SingleStreamMuxer> muxer =
      MakeSingleStreamMuxer(*params, DisplayAspect{pending.numerator, pending.denominator});
  if (!muxer) {
    HostLogText(u"kx_mkv.dll: Not enough memory to create avi writer.");
    return nullptr;
  }
  if (Guarded([&] { return muxer->Init(path, *params); }) == 0) {
    muxer.reset();
    HostLogFormat(u"kx_mkv.dll: Create media file[%s] failed", path);
    return nullptr;
  }
  return muxer.release();
}

int32_t WriteAudioData(void* handle, const MediaSample* sample, const FrameSizeTable* frames) {
  if (handle == nullptr || sample == nullptr) {
    return 0;
  }
  return Guarded([&] { return Muxer(handle)->WriteAudioSample(*sample, frames); });
}

int32_t WriteVideoData(void* handle, const MediaSample* sample) {
  if (handle == nullptr || sample == nullptr) {
    return 0;
  }
  return Guarded([&] { return Muxer(handle)->WriteVideoSample(*sample); });
}

int32_t CloseMediaFile(void* handle) {
  if (handle != nullptr) {
    const std::unique_ptr<SingleStreamMuxer> muxer(Muxer(handle));
    Guarded([&] { muxer->Close(); });
  }
  PendingAspect() = AspectRatioRecord{};
  return 0;
}

void WriteAudioExtraData(void* handle, const uint8_t* data, int32_t size) {
  if (handle == nullptr) {
    return;
  }
  Guarded([&] { Muxer(handle)->SetAudioExtraData(data, size); });
}

void WriteVideoExtraData(void* handle, const uint8_t* second, int32_t secondSize,
                         const uint8_t* first, int32_t firstSize) {
  if (handle == nullptr) {
    return;
  }
  Guarded([&] { Muxer(handle)->SetVideoExtraData(second, secondSize, first, firstSize); });
}

void SetDisplayAspectRatio(const AspectRatioRecord* record) {
  AspectRatioRecord& pending = PendingAspect();
  pending = AspectRatioRecord{};
  if (record == nullptr) {
    return;
  }
  std::memcpy(&pending, record, sizeof pending);
  if (pending.numerator == 0 || pending.denominator == 0) {
    return;
  }
  // Reduce by the greatest common divisor (Euclid on the signed values, the
  // remainder taking the dividend's sign). A pair whose quotient does not fit
  // 32 bits (-2^31 over a divisor of -1) is rejected.
  int64_t a = pending.numerator;
  int64_t b = pending.denominator;
  while (b != 0) {
    const int64_t t = a % b;
    a = b;
    b = t;
  }
  const int64_t numerator = pending.numerator / a;
  const int64_t denominator = pending.denominator / a;
  if (numerator > INT32_MAX || denominator > INT32_MAX) {
    pending.numerator = 0;
    pending.denominator = 0;
    return;
  }
  pending.numerator = static_cast<int32_t>(numerator);
  pending.denominator = static_cast<int32_t>(denominator);
}

}  // namespace kx
