#include "src/codec/annex_b_reader.h"

#include "src/codec/start_code.h"

namespace kx::codec {

AnnexBReader::AnnexBReader(const uint8_t* begin, const uint8_t* end)
    : pos_(FindStartCodeSteppedBack(begin, end)), end_(end) {}

bool AnnexBReader::Next(NalUnit& unit) {
  while (pos_ < end_) {
    // Pass the zeros of the start code and its 01. A start code with nothing
    // after it ends the data.
    const uint8_t* payload = pos_;
    while (payload < end_ && *payload == 0) {
      ++payload;
    }
    if (payload >= end_ - 1) {
      pos_ = end_;
      return false;
    }
    ++payload;
    const uint8_t* next = FindStartCodeSteppedBack(payload, end_);
    // pos_ always sits on 00 00 01 or 00 00 00 01, so the unit starts right
    // after the 01 that was just passed.
    const uint8_t* start = pos_ + (pos_[2] == 1 ? 3 : 4);
    pos_ = next;
    if (next > start) {
      unit.data = start;
      unit.size = static_cast<size_t>(next - start);
      unit.type = static_cast<uint8_t>((start[0] >> 1) & 0x3F);
      return true;
    }
  }
  return false;
}

}  // namespace kx::codec
