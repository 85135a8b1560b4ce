#include "tools/kxmux/codec_preparation.h"

#include "tools/kxmux/nal.h"

namespace kxmux {
namespace {

// Start codes of an MPEG-4 Part 2 video object layer header.
constexpr uint8_t kMpeg4VolFirst = 0x20;
constexpr uint8_t kMpeg4VolLast = 0x2F;

// Only VPS, SPS and PPS: the module builds its hvcC record in a fixed
// 1024-byte CodecPrivate and refuses anything longer, and encoders' SEI
// (x265 writes its whole option string) alone can exceed that.
std::vector<uint8_t> HevcParameterSets(const std::vector<ByteView>& units) {
  std::vector<ByteView> sets;
  for (const ByteView& unit : units) {
    const int type = HevcNalType(unit);
    if (type >= kHevcVps && type <= kHevcPps) {
      sets.push_back(unit);
    }
  }
  std::vector<uint8_t> annex_b;
  AppendAnnexB(sets, &annex_b);
  return annex_b;
}

// Streams without out-of-band configuration (raw or broadcast H.264/HEVC
// whose extra data FFmpeg could not fill) carry the parameter sets in their
// key frames; the first such sample supplies them.
std::optional<VideoConfig> InBandConfig(Track* track, const std::vector<ByteView>& units) {
  if (track->codec == Codec::kH264) {
    const AvcConfig config = FindAvcParameterSets(units);
    if (config.sps.empty() || config.pps.empty()) {
      return std::nullopt;
    }
    return VideoConfig{config.sps, config.pps};
  }
  std::vector<uint8_t> sets = HevcParameterSets(units);
  if (sets.empty()) {
    return std::nullopt;
  }
  return VideoConfig{std::move(sets), {}};
}

}  // namespace

std::optional<VideoConfig> VideoConfigFrom(Track* track, const uint8_t* data, size_t size) {
  if (track->codec == Codec::kH264) {
    const auto config = ParseAvcExtradata(data, size);
    if (!config) {
      return std::nullopt;
    }
    if (track->input_length_size < 0) {
      track->input_length_size = config->length_size;
    }
    if (config->sps.empty() || config->pps.empty()) {
      return std::nullopt;
    }
    return VideoConfig{config->sps, config->pps};
  }
  if (track->codec == Codec::kHevc) {
    const auto config = ParseHevcExtradata(data, size);
    if (!config) {
      return std::nullopt;
    }
    if (track->input_length_size < 0) {
      track->input_length_size = config->length_size;
    }
    std::vector<uint8_t> sets =
        HevcParameterSets(SplitAnnexB(config->annex_b.data(), config->annex_b.size()));
    if (sets.empty()) {
      return std::nullopt;
    }
    return VideoConfig{std::move(sets), {}};
  }
  if (track->codec == Codec::kMpeg1Video || track->codec == Codec::kMpeg2Video) {
    return VideoConfig{std::vector<uint8_t>(data, data + size), {}};
  }
  return std::nullopt;
}

bool TakesConfigurationAsIs(Codec codec) {
  return codec == Codec::kAac || codec == Codec::kVorbis || codec == Codec::kOpus ||
         codec == Codec::kAss || codec == Codec::kSsa;
}

bool PrepareVideoSample(Track* track, const AVPacket& packet, std::vector<uint8_t>* out,
                        std::optional<VideoConfig>* in_band, std::string* error) {
  out->clear();
  in_band->reset();
  const bool key = (packet.flags & AV_PKT_FLAG_KEY) != 0;
  if (track->framing == Framing::kAsIs) {
    // MPEG-4 Part 2 keeps its VOL header in the configuration when the input
    // container has a place for it (MP4, Matroska). The module writes no
    // CodecPrivate for it, so the header goes in front of every key frame
    // that lacks one; otherwise a decoder starting there has no picture size.
    const AVCodecParameters& par = *track->stream->codecpar;
    if (track->codec == Codec::kMpeg4Part2 && key && par.extradata_size > 0 &&
        !HasStartCodeIn(packet.data, static_cast<size_t>(packet.size), kMpeg4VolFirst,
                        kMpeg4VolLast)) {
      out->assign(par.extradata, par.extradata + par.extradata_size);
    }
    out->insert(out->end(), packet.data, packet.data + packet.size);
    return true;
  }
  const auto size = static_cast<size_t>(packet.size);
  if (track->input_length_size < 0) {
    track->input_length_size = StartsWithStartCode(packet.data, size) ? 0 : 4;
  }
  std::vector<ByteView> units;
  if (track->input_length_size == 0) {
    units = SplitAnnexB(packet.data, size);
  } else {
    auto split = SplitLengthPrefixed(packet.data, size, track->input_length_size);
    if (!split) {
      *error = "a " + std::string(CodecName(track->codec)) +
               " sample of the input is malformed (its unit lengths run past its end)";
      return false;
    }
    units = std::move(*split);
  }
  if (!track->extradata_sent) {
    *in_band = InBandConfig(track, units);
  }
  if (track->framing == Framing::kAnnexB) {
    AppendAnnexB(units, out);
  } else {
    AppendLengthPrefixed(units, out);
  }
  return true;
}

}  // namespace kxmux
