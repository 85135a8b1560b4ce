// Byte-stream framing of H.264 and HEVC for the host side.
//
// Demuxers hand H.264 and HEVC over in one of two framings: Annex B (start
// codes, as in MPEG-TS and raw streams) or length-prefixed units with the
// parameter sets kept apart in a configuration record (MP4, Matroska). The
// module wants the one its FourCC names: its NAL-unit and conversion paths and
// its HEVC muxer scan for start codes (the NAL-unit path only finds the 4-byte
// form), while FourCCs stored as they arrive need length-prefixed units.
#ifndef KX_TOOLS_KXMUX_NAL_H_
#define KX_TOOLS_KXMUX_NAL_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kxmux {

// A view of bytes owned by someone else.
struct ByteView {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

// True when the data begins with a 3- or 4-byte start code.
bool StartsWithStartCode(const uint8_t* data, size_t size);

// Splits Annex B data into NAL units (without their start codes). Zero bytes
// in front of a start code belong to it, so they are not part of the unit
// before; bytes ahead of the first start code are ignored.
std::vector<ByteView> SplitAnnexB(const uint8_t* data, size_t size);

// Splits units that each begin with a big-endian length of `length_size`
// bytes (1 to 4). Returns nullopt when a length runs past the end.
std::optional<std::vector<ByteView>> SplitLengthPrefixed(const uint8_t* data, size_t size,
                                                         int length_size);

// Appends each unit behind a 4-byte start code (00 00 00 01).
void AppendAnnexB(const std::vector<ByteView>& units, std::vector<uint8_t>* out);

// Appends each unit behind its size as a big-endian 32-bit number.
void AppendLengthPrefixed(const std::vector<ByteView>& units, std::vector<uint8_t>* out);

// True when the data holds a start code 00 00 01 followed by a byte in
// [first, last] (MPEG-1/2/4 Part 2 headers are found this way).
bool HasStartCodeIn(const uint8_t* data, size_t size, uint8_t first, uint8_t last);

// NAL unit type of an H.264 unit (low 5 bits of its header byte).
int AvcNalType(const ByteView& unit);
// NAL unit type of an HEVC unit (bits 1 to 6 of its first header byte).
int HevcNalType(const ByteView& unit);

constexpr int kAvcSps = 7;
constexpr int kAvcPps = 8;
constexpr int kHevcVps = 32;
constexpr int kHevcSps = 33;
constexpr int kHevcPps = 34;

// The framing and parameter sets found in an H.264 stream's extra data.
struct AvcConfig {
  std::vector<uint8_t> sps;  // first sequence parameter set, without start code
  std::vector<uint8_t> pps;  // first picture parameter set, without start code
  int length_size = 0;       // length field size of the samples; 0 = Annex B samples
};

// Reads an AVC decoder configuration record (avcC) or Annex B parameter sets.
// Returns nullopt when neither form is recognised.
std::optional<AvcConfig> ParseAvcExtradata(const uint8_t* data, size_t size);

// Finds the first SPS and PPS among the units of a sample (for streams that
// carry their parameter sets only in-band).
AvcConfig FindAvcParameterSets(const std::vector<ByteView>& units);

// The framing and parameter sets found in an HEVC stream's extra data.
struct HevcConfig {
  std::vector<uint8_t> annex_b;  // every unit of the record, behind 4-byte start codes
  int length_size = 0;           // 0 = Annex B samples
};

// Reads an HEVC decoder configuration record (hvcC) or Annex B parameter sets.
std::optional<HevcConfig> ParseHevcExtradata(const uint8_t* data, size_t size);

}  // namespace kxmux

#endif  // KX_TOOLS_KXMUX_NAL_H_
