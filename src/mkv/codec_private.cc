#include "src/mkv/codec_private.h"

#include <limits>

namespace kx {
namespace {

void PutLe16(std::vector<uint8_t>& out, uint32_t v) {
  out.push_back(static_cast<uint8_t>(v));
  out.push_back(static_cast<uint8_t>(v >> 8));
}

void PutLe32(std::vector<uint8_t>& out, uint32_t v) {
  PutLe16(out, v & 0xFFFF);
  PutLe16(out, v >> 16);
}

void PutBe16(std::vector<uint8_t>& out, uint32_t v) {
  out.push_back(static_cast<uint8_t>(v >> 8));
  out.push_back(static_cast<uint8_t>(v));
}

bool Given(const uint8_t* data, int32_t size) { return data != nullptr && size > 0; }

}  // namespace

std::vector<uint8_t> BitmapInfoHeader(const VideoParams& video) {
  std::vector<uint8_t> out;
  out.reserve(40);
  PutLe32(out, 40);                                   // biSize
  PutLe32(out, static_cast<uint32_t>(video.width));   // biWidth
  PutLe32(out, static_cast<uint32_t>(video.height));  // biHeight, sign kept
  PutLe16(out, 1);                                    // biPlanes
  PutLe16(out, video.bitCount);                       // biBitCount
  PutLe32(out, video.fourcc);                         // biCompression
  for (int i = 0; i < 5; ++i) {
    PutLe32(out, 0);  // size, resolutions, colours
  }
  return out;
}

std::vector<uint8_t> WaveFormatEx(const AudioParams& audio) {
  // The byte rate is a signed 32-bit product. Multiplying as unsigned gives
  // the same low 32 bits without undefined behaviour when it overflows: the
  // same bytes for every product that fits, wrapped ones for the others.
  const uint32_t product = static_cast<uint32_t>(audio.sampleRate) *
                           static_cast<uint32_t>(audio.bitsPerSample) *
                           static_cast<uint32_t>(audio.channels);
  const auto bytes_per_second = static_cast<int32_t>(product) / 8;
  std::vector<uint8_t> out;
  out.reserve(18);
  PutLe16(out, audio.fourcc & 0xFFFF);                                // wFormatTag
  PutLe16(out, static_cast<uint32_t>(audio.channels) & 0xFFFF);       // nChannels
  PutLe32(out, static_cast<uint32_t>(audio.sampleRate));              // nSamplesPerSec
  PutLe32(out, static_cast<uint32_t>(bytes_per_second));              // nAvgBytesPerSec
  PutLe16(out, 0);                                                    // nBlockAlign
  PutLe16(out, static_cast<uint32_t>(audio.bitsPerSample) & 0xFFFF);  // wBitsPerSample
  PutLe16(out, 18);                                                   // cbSize
  return out;
}

std::vector<uint8_t> AvcConfigurationRecord(const uint8_t* first, int32_t first_size,
                                            const uint8_t* second, int32_t second_size) {
  const bool has_sps = Given(first, first_size);
  const bool has_pps = Given(second, second_size);
  constexpr int32_t kMaxLength = std::numeric_limits<uint16_t>::max();
  if ((has_sps && first_size > kMaxLength) || (has_pps && second_size > kMaxLength)) {
    return {};
  }
  std::vector<uint8_t> out = {0x01, 0x42, 0x00, 0x0D,
                              0xFF};  // version, baseline 1.3, 4-byte lengths
  if (has_sps) {
    if (first_size >= 4) {  // profile_idc, constraint flags, level_idc
      out[1] = first[1];
      out[2] = first[2];
      out[3] = first[3];
    }
    out.push_back(0xE1);  // one SPS
    PutBe16(out, static_cast<uint32_t>(first_size));
    out.insert(out.end(), first, first + first_size);
  } else {
    out.push_back(0x00);
  }
  if (has_pps) {
    out.push_back(0x01);  // one PPS
    PutBe16(out, static_cast<uint32_t>(second_size));
    out.insert(out.end(), second, second + second_size);
  } else {
    out.push_back(0x00);
  }
  return out;
}

std::optional<ByteRange> FindMpegSequenceHeader(const uint8_t* data, size_t size) {
  if (data == nullptr || size < 4) {
    return std::nullopt;
  }
  constexpr uint8_t kSequenceHeader = 0xB3;
  constexpr uint8_t kExtension = 0xB5;
  std::optional<size_t> start;
  for (size_t i = 0; i + 4 <= size; ++i) {
    if (data[i] != 0 || data[i + 1] != 0 || data[i + 2] != 1) {
      continue;
    }
    const uint8_t code = data[i + 3];
    if (code == kSequenceHeader) {
      start = i;
    } else if (code != kExtension && start) {
      return ByteRange{*start, i - *start};
    }
  }
  if (!start) {
    return std::nullopt;
  }
  return ByteRange{*start, size - *start};
}

}  // namespace kx
