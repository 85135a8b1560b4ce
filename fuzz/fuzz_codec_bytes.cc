// libFuzzer target: every codec path that parses sample or configuration
// bytes on its own, each given the whole input. HEVC: the hvcC writer at the
// muxers' capacity and at a small one, and Annex B samples to length-prefixed
// units (key frame when the first byte is odd). H.264: the NAL-unit,
// compacting and conversion paths, and the AVC record from SPS and PPS (the
// first byte says where the SPS ends). MPEG-1/2: the sequence-header scan.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "src/codec/hevc_sample_reframer.h"
#include "src/codec/hvcc_writer.h"
#include "src/mkv/codec_private.h"
#include "src/mkv/sample_paths.h"

namespace {

void Check(bool ok) {
  if (!ok) std::abort();
}

void Hvcc(const uint8_t* data, int32_t size) {
  constexpr uint32_t kMuxerCapacity = 1024;
  constexpr uint32_t kSmallCapacity = 96;
  std::vector<uint8_t> large(kMuxerCapacity, 0xA5);
  uint32_t large_size = 0xFFFFFFFF;
  const bool large_ok =
      kx::codec::ff_isom_write_hvcc(large.data(), kMuxerCapacity, data, size, &large_size);
  Check(large_ok ? large_size > 0 && large_size < kMuxerCapacity && large[0] == 1
                 : large_size == 0xFFFFFFFF && large[0] == 0xA5);
  // A record that fits the small buffer must be the very one the large buffer
  // got; the bytes past it must be untouched.
  std::vector<uint8_t> small(kSmallCapacity, 0x5A);
  uint32_t small_size = 0;
  if (kx::codec::ff_isom_write_hvcc(small.data(), kSmallCapacity, data, size, &small_size)) {
    Check(large_ok && small_size == large_size &&
          std::memcmp(small.data(), large.data(), small_size) == 0 &&
          (small_size + 1 >= kSmallCapacity || small[small_size] == 0x5A));
  }
}

// The output must walk cleanly as length-prefixed units with no parameter
// sets, and none can be longer than the input.
void HevcReframe(const uint8_t* data, size_t size) {
  const bool key_frame = size > 0 && (data[0] & 1) != 0;
  std::vector<uint8_t> out = {0xEE};  // the reframer appends after what is there
  const kx::codec::ReframedSample result = kx::codec::ReframeHevcSample(data, size, key_frame, out);
  Check(out.size() == result.size + 1 && out[0] == 0xEE &&
        (result.size != 0 || result.key_frame == key_frame));
  for (size_t pos = 1; pos < out.size();) {
    Check(out.size() - pos >= 5);
    const size_t length = (size_t{out[pos]} << 24) | (size_t{out[pos + 1]} << 16) |
                          (size_t{out[pos + 2]} << 8) | out[pos + 3];
    pos += 4;
    const int type = (out[pos] >> 1) & 0x3F;
    Check(length > 0 && length <= out.size() - pos && length <= size && (type < 32 || type > 34));
    pos += length;
  }
}

void VideoBytes(const uint8_t* data, size_t size) {
  kx::MatroskaStream track(false, false);
  std::vector<uint8_t> copy(data, data + size);  // two paths rewrite the sample
  std::vector<uint8_t> buffer;
  const auto n = static_cast<int32_t>(size);
  kx::AddAnnexBAsLengthPrefixed(track, copy.data(), n, 0, 1, 1, buffer);
  const int32_t slices = kx::AddNalUnitSlices(track, copy.data(), n, 0, 1);
  copy.assign(data, data + size);
  const int32_t compacted = kx::AddCompactedSlices(track, copy.data(), n, 0, 1, 0);
  const auto header = kx::FindMpegSequenceHeader(data, size);
  const size_t sps = size > 0 ? data[0] % size : 0;
  const size_t pps = size > 0 ? size - 1 - sps : 0;
  const uint8_t* first = size > 0 ? data + 1 : data;
  const auto record = kx::AvcConfigurationRecord(first, static_cast<int32_t>(sps), first + sps,
                                                 static_cast<int32_t>(pps));
  Check(slices <= n && compacted <= n && (!header || header->offset + header->length <= size) &&
        record.size() == (sps > 0 ? sps + 9 : 7) + (pps > 0 ? pps + 2 : 0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size > INT32_MAX) return 0;
  Hvcc(data, static_cast<int32_t>(size));
  HevcReframe(data, size);
  VideoBytes(data, size);
  return 0;
}
