// The multi-stream function table. A handle keeps the announced streams and
// shares ownership of the muxer made when the file is initialised; samples
// and extra data are routed over the handle's own copy of the stream table.
#include "src/plugin/multi_stream_entry.h"

#include <array>
#include <iterator>
#include <memory>
#include <string>

#include "host/yr_log.h"
#include "src/codec/fourcc.h"
#include "src/multi/multi_muxer.h"
#include "src/multi/stream_table.h"
#include "src/plugin/catalogue.h"
#include "src/plugin/guarded.h"
#include "src/plugin/muxer_factory.h"

namespace kx {
namespace {

constexpr const char16_t* kModule = u"mkv";

struct MultiStreamHandle {
  StreamTable streams;
  std::shared_ptr<MultiMuxer> muxer;
};

MultiStreamHandle* Handle(void* handle) { return static_cast<MultiStreamHandle*>(handle); }

// A language field up to its NUL (or its end, when the host left none);
// "und" when empty.
std::u16string Language(const char16_t* text, size_t size) {
  std::u16string language;
  for (size_t i = 0; i < size && text[i] != 0; ++i) {
    language.push_back(text[i]);
  }
  return language.empty() ? u"und" : language;
}

void LogStreamInfo(uint32_t type, uint32_t programid, uint32_t in_index, uint32_t out_index,
                   const MediaFileParams& params) {
  static constexpr std::array<const char16_t*, 4> kFirstLines = {
      u"kx_%ls:AddStreamInfoMultiStream::streamtype = VIDEO,programid=%d ,InStreamindex =%d "
      u",OutStreamIndex=%d \n",
      u"kx_%ls:AddStreamInfoMultiStream::streamtype = AUDIO,programid=%d ,InStreamindex =%d "
      u",OutStreamIndex=%d \n",
      u"kx_%ls:AddStreamInfoMultiStream::streamtype = SUBPIC_Internal,programid=%d ,InStreamindex "
      u"=%d ,OutStreamIndex=%d \n",
      u"kx_%ls:AddStreamInfoMultiStream::streamtype = SUBPIC_External,programid=%d ,InStreamindex "
      u"=%d ,OutStreamIndex=%d \n"};
  if (type < kStreamVideo || type > kStreamSubpicExternal) {
    return;
  }
  HostLogFormat(kFirstLines.at(static_cast<size_t>(type - kStreamVideo)), kModule,
                static_cast<int32_t>(programid), static_cast<int32_t>(in_index),
                static_cast<int32_t>(out_index));
  if (type == kStreamVideo) {
    const VideoParams& video = params.video;
    HostLogFormat(
        u"kx_%ls:AddStreamInfoMultiStream::streamfourcc= [%ls],width=%d ,height =%d "
        u",framerate=%0.6f,bitrate=%d \n",
        kModule, FourCCText(video.fourcc).c_str(), video.width, video.height, video.frameRate,
        video.bitRate);
  } else if (type == kStreamAudio) {
    const AudioParams& audio = params.audio;
    HostLogFormat(
        u"kx_%ls:AddStreamInfoMultiStream::streamfourcc= [%ls], channel=%d ,samplerate "
        u"=%d ,bitrate=%d ,language=%ls \n",
        kModule, FourCCText(audio.fourcc).c_str(), audio.channels, audio.sampleRate, audio.bitRate,
        Language(audio.language, std::size(audio.language)).c_str());
  } else {
    const SubtitleParams& subtitle = params.subtitle;
    HostLogFormat(u"kx_%ls:AddStreamInfoMultiStream::streamfourcc = [%ls] , language=%ls \n",
                  kModule, FourCCText(subtitle.fourcc).c_str(),
                  Language(subtitle.language, std::size(subtitle.language)).c_str());
  }
}

// Makes the muxer for the handle's streams and opens the file. A handle
// writes one file: a second call fails and leaves the first file, its muxer
// and the stream tables as they are (handing the streams over again would
// duplicate the muxer's entries, and a new muxer would drop a file half
// written).
bool InitHandle(MultiStreamHandle* handle, uint32_t file_fourcc, const char16_t* file_name,
                uint64_t reserved) {
  if (handle == nullptr || handle->muxer || FindFileFormat(file_fourcc) == nullptr ||
      handle->streams.empty()) {
    return false;
  }
  uint32_t video_fourcc = 0;
  for (const MultiStreamEntry& entry : handle->streams) {
    if (entry.type == kStreamVideo) {
      video_fourcc = entry.info->video.fourcc;
    }
  }
  handle->muxer = MakeMultiStreamMuxer(file_fourcc, video_fourcc);
  if (!handle->muxer) {
    return false;
  }
  for (const MultiStreamEntry& entry : handle->streams) {
    handle->muxer->AddStreamInfo(entry.type, entry.programid, entry.InStreamindex,
                                 entry.OutStreamIndex, *entry.info);
  }
  return handle->muxer->Init(file_fourcc, file_name, reserved);
}

}  // namespace

void* CreateMediaFileMultiStream() {
  HostLogFormat(u"kx_%ls: CreateMediaFileMultiStream \n", kModule);
  return Guarded([] { return new MultiStreamHandle(); });
}

int32_t AddStreamInfoMultiStream(void* handle, int32_t type, uint32_t programid,
                                 uint32_t InStreamindex, uint32_t OutStreamIndex,
                                 const MediaFileParams* params) {
  if (handle == nullptr || params == nullptr) {
    return 1;
  }
  LogStreamInfo(static_cast<uint32_t>(type), programid, InStreamindex, OutStreamIndex, *params);
  Guarded([&] {
    AddStream(Handle(handle)->streams, static_cast<uint32_t>(type), programid, InStreamindex,
              OutStreamIndex, *params);
  });
  return 1;
}

int32_t InitMediaFileMultiStream(void* handle, uint32_t fileFourCC, const char16_t* fileName,
                                 uint64_t reserved) {
  HostLogFormat(u"kx_mkv.dll: Return file formats...");
  const bool ok =
      Guarded([&] { return InitHandle(Handle(handle), fileFourCC, fileName, reserved); });
  const std::u16string fourcc = FourCCText(fileFourCC);
  const char16_t* name = fileName != nullptr ? fileName : u"";
  if (ok) {
    HostLogFormat(u"kx_%ls: InitMediaFileMultiStream Success,file fourcc =[%ls] ,filename =[%ls]",
                  kModule, fourcc.c_str(), name);
  } else {
    HostLogFormat(u"kx_%ls: InitMediaFileMultiStream Failed,file fourcc =[%ls] ,filename =[%ls]",
                  kModule, fourcc.c_str(), name);
  }
  return ok ? 1 : 0;
}

int32_t WriteSampleMultiStream(void* handle, uint32_t OutStreamIndex, const MediaSample* sample,
                               const FrameSizeTable* frames) {
  MultiStreamHandle* h = Handle(handle);
  if (h != nullptr && sample != nullptr && h->muxer) {
    Guarded([&] { return DispatchSample(h->streams, *h->muxer, OutStreamIndex, sample, frames); });
  }
  return 0;
}

void CloseMediaFileMultiStream(void* handle) {
  if (MultiStreamHandle* h = Handle(handle)) {
    if (h->muxer) {
      Guarded([&] { h->muxer->Close(); });
    }
    delete h;
  }
  HostLogFormat(u"kx_%ls: CloseMediaFileMultiStream \n", kModule);
}

void WriteExtraDataMultiStream(void* handle, uint32_t OutStreamIndex, const uint8_t* data,
                               int32_t size) {
  HostLogFormat(u"kx_%ls: WriteExtraDataMultiStream,streamidx =[%d] \n", kModule,
                static_cast<int32_t>(OutStreamIndex));
  MultiStreamHandle* h = Handle(handle);
  if (h != nullptr && h->muxer) {
    Guarded([&] { DispatchExtraData(h->streams, *h->muxer, OutStreamIndex, data, size); });
  }
}

}  // namespace kx
