// libFuzzer target: H.264 NAL-unit, compacting and conversion paths, MPEG-1/2 sequence-header
// scan, and the AVC record from SPS and PPS (the first byte says where the SPS ends).
#include <cstdlib>

#include "src/mkv/codec_private.h"
#include "src/mkv/sample_paths.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
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
  if (slices > n || compacted > n || (header && header->offset + header->length > size) ||
      record.size() != (sps > 0 ? sps + 9 : 7) + (pps > 0 ? pps + 2 : 0)) {
    std::abort();
  }
  return 0;
}
