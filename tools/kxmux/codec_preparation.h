// What each codec needs before the module gets it: the configuration data in
// the module's form, and video samples in the framing of the module's path.
#ifndef KX_TOOLS_KXMUX_CODEC_PREPARATION_H_
#define KX_TOOLS_KXMUX_CODEC_PREPARATION_H_

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/kxmux/track.h"

namespace kxmux {

// Video configuration as the module takes it: `first` the SPS, the MPEG-1/2
// sequence header or the HEVC VPS, SPS and PPS in Annex B form; `second`
// the PPS.
struct VideoConfig {
  std::vector<uint8_t> first;
  std::vector<uint8_t> second;
};

// From the input's configuration data (avcC, hvcC, sequence header). Learns
// the input's length field size on the way. Nullopt when there is nothing
// the module takes.
std::optional<VideoConfig> VideoConfigFrom(Track* track, const uint8_t* data, size_t size);

// Whether the codec's configuration data goes to the module unchanged (the
// AAC AudioSpecificConfig, the Xiph-laced Vorbis headers, the OpusHead, the
// ASS/SSA script header), as Matroska's CodecPrivate wants it.
bool TakesConfigurationAsIs(Codec codec);

// The packet's bytes in the framing the track's module path wants, into
// `out`. Streams whose configuration was not sent find it in the sample's
// parameter sets: then *in_band holds it. False with *error set when the
// sample is malformed.
bool PrepareVideoSample(Track* track, const AVPacket& packet, std::vector<uint8_t>* out,
                        std::optional<VideoConfig>* in_band, std::string* error);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_CODEC_PREPARATION_H_
