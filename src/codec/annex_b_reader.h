// Walks the NAL units of an Annex B byte stream. The configuration-record
// writer and the HEVC muxers' sample reframing both split their input this
// way, so the rules for start codes live here once.
#ifndef KX_CODEC_ANNEX_B_READER_H_
#define KX_CODEC_ANNEX_B_READER_H_

#include <cstddef>
#include <cstdint>

namespace kx::codec {

struct NalUnit {
  const uint8_t* data = nullptr;  // first header byte, inside the caller's input
  size_t size = 0;                // up to the next start code, emulation bytes included
  uint8_t type = 0;               // nal_unit_type: (first byte >> 1) & 0x3F
};

class AnnexBReader {
 public:
  // The data must outlive the reader; it is only read.
  AnnexBReader(const uint8_t* begin, const uint8_t* end);

  // Fills `unit` with the next NAL unit and returns true, or returns false when
  // none is left. Bytes before the first start code are ignored. A NAL unit
  // ends at the next start code (a four-byte one taken at its first byte) or
  // at the end of the data. Empty units (two start codes back to back) are
  // passed over: they have no header to classify and nothing to carry.
  bool Next(NalUnit& unit);

 private:
  const uint8_t* pos_;  // stepped-back start of the next start code, or end_
  const uint8_t* end_;
};

}  // namespace kx::codec

#endif  // KX_CODEC_ANNEX_B_READER_H_
