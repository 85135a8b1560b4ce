// Fills a track's TrackEntry from the host's parameters (Matroska rules).
#ifndef KX_MKV_TRACK_SETUP_H_
#define KX_MKV_TRACK_SETUP_H_

#include <cstdint>

#include "include/kx_mkv/kx_mkv.h"
#include "src/mkv/matroska_stream.h"

namespace kx {

// TrackNumber = index + 1. Both return 0: nothing in the parameters makes a
// setup fail (unknown FourCCs take the VFW fallback).
int32_t SetupVideoTrack(MatroskaStream& stream, const VideoParams& video, uint32_t index);
int32_t SetupAudioTrack(MatroskaStream& stream, const AudioParams& audio, uint32_t index);
// A text subtitle track (TrackType 17) for the subtitle FourCCs the module
// knows; -1, with the stream left as it was, for any other FourCC.
int32_t SetupSubtitleTrack(MatroskaStream& stream, const SubtitleParams& subtitle, uint32_t index);

// Pieces shared with the WebM setups.
void SetDefaultDurationAndPixels(MatroskaWriter::TrackEntry& entry, const VideoParams& video);
// The display size as the pixel size, DisplayUnit 3 (display aspect ratio).
void SetPixelDisplaySize(MatroskaWriter::TrackEntry& entry, const VideoParams& video);
void SetAudioFields(MatroskaWriter::TrackEntry& entry, const AudioParams& audio,
                    std::string_view codec_id);
void SetVideoCodec(MatroskaWriter::TrackEntry& entry, const VideoParams& video,
                   std::string_view codec_id);
uint64_t AbsoluteHeight(const VideoParams& video);

}  // namespace kx

#endif  // KX_MKV_TRACK_SETUP_H_
