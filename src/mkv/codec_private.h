// Codec private data built from host parameters and codec configuration:
// BITMAPINFOHEADER and WAVEFORMATEX-layout records for the VFW fallbacks, the
// AVC decoder configuration record and the MPEG-1/2 sequence header.
#ifndef KX_MKV_CODEC_PRIVATE_H_
#define KX_MKV_CODEC_PRIVATE_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "include/kx_mkv/kx_mkv.h"

namespace kx {

// 40-byte BITMAPINFOHEADER, little-endian; compression = the FourCC.
std::vector<uint8_t> BitmapInfoHeader(const VideoParams& video);

// 18-byte WAVEFORMATEX layout, little-endian; cbSize holds 18.
std::vector<uint8_t> WaveFormatEx(const AudioParams& audio);

// The AVC decoder configuration record (avcC) for one SPS (`first`) and one
// PPS (`second`), each a NAL unit without start code; a block counts as given
// when its pointer is not null and its size above 0. Empty when a block is
// longer than the record's 16-bit length field can state: such a record would
// be truncated, so it is refused.
std::vector<uint8_t> AvcConfigurationRecord(const uint8_t* first, int32_t first_size,
                                            const uint8_t* second, int32_t second_size);

struct ByteRange {
  size_t offset = 0;
  size_t length = 0;
};

// The MPEG-1/2 sequence header in `data`: from the last 00 00 01 B3 to the
// first following start code that is not an extension (B5), or to the end.
std::optional<ByteRange> FindMpegSequenceHeader(const uint8_t* data, size_t size);

}  // namespace kx

#endif  // KX_MKV_CODEC_PRIVATE_H_
