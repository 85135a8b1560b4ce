// End-to-end test support: real elementary streams made with the ffmpeg
// command line, cut into samples, and a host that feeds them to the module
// through the catalogue's function table only.
#ifndef KX_TESTS_E2E_MEDIA_UTIL_H_
#define KX_TESTS_E2E_MEDIA_UTIL_H_

#include <cstdint>
#include <string>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kx::test {

struct Sample {
  std::vector<uint8_t> data;
  int64_t start = 0;  // 100-ns units
  int32_t duration = 0;
  bool key = true;
};

// A NAL unit of an Annex B stream: [begin, end) is its payload, after a start
// code of `begin - code_begin` (3 or 4) bytes.
struct NalUnit {
  size_t code_begin = 0;
  size_t begin = 0;
  size_t end = 0;
};
std::vector<NalUnit> AnnexBUnits(const std::vector<uint8_t>& stream);

// Runs a shell command; returns its exit status and fills `output` with
// what it printed (stdout and stderr).
int RunCommand(const std::string& command, std::string* output = nullptr);

// Makes `path` with ffmpeg from lavfi sources unless it exists; false when
// ffmpeg failed.
bool MakeWithFfmpeg(const std::string& arguments, const std::string& path);

// H.264 Annex B written with access unit delimiters: one sample per access
// unit (AUD kept), 4-byte start codes, times from the frame rate.
std::vector<Sample> SplitH264AccessUnits(const std::vector<uint8_t>& stream, double fps);
// The first SPS and PPS NAL units (without start codes).
void FindH264ParameterSets(const std::vector<uint8_t>& stream, std::vector<uint8_t>* sps,
                           std::vector<uint8_t>* pps);
// ADTS AAC: frames without their headers; `config` receives the AudioSpecificConfig.
std::vector<Sample> SplitAdts(const std::vector<uint8_t>& stream, std::vector<uint8_t>* config);
// MPEG-1 Layer III frames.
std::vector<Sample> SplitMp3(const std::vector<uint8_t>& stream);
// AC-3 sync frames.
std::vector<Sample> SplitAc3(const std::vector<uint8_t>& stream);
// IVF (VP8/VP9/AV1) frames; key frames detected for VP9 and VP8.
std::vector<Sample> ReadIvf(const std::vector<uint8_t>& stream, bool vp9);

// The catalogue row for a container FourCC.
const FileFormat& Row(const char (&fourcc)[5]);

MediaFileParams VideoAudioParams(const char (&container)[5], const char (&video)[5], int width,
                                 int height, double fps, const char (&audio)[5], int sample_rate,
                                 int channels);

// Interleaves video and audio samples by start time through the row's
// functions. Returns false when the module refused the file.
struct Feed {
  std::vector<Sample> video;
  std::vector<Sample> audio;
  std::vector<uint8_t> sps, pps;      // WriteVideoExtraData (first, second)
  std::vector<uint8_t> audio_config;  // WriteAudioExtraData
  bool extra_data_after_first_flush = false;
};
bool WriteFile(const FileFormat& row, const std::u16string& path, const MediaFileParams& params,
               const Feed& feed);

// One packet as ffprobe reports it.
struct Packet {
  int64_t pts_ms = 0;
  int64_t size = 0;
  bool key = false;
};
std::vector<Packet> ProbePackets(const std::string& path, const std::string& stream);

std::string TempPath(const std::string& name);

}  // namespace kx::test

#endif  // KX_TESTS_E2E_MEDIA_UTIL_H_
