#include "src/ebml/blocks.h"

#include <array>
#include <cstring>
#include <utility>

#include "src/ebml/chunk_writer.h"
#include "src/ebml/length.h"

namespace MatroskaWriter {
namespace {

constexpr uint8_t kXiphLacing = 0x02;
constexpr uint8_t kKeyFrame = 0x80;
constexpr uint64_t kLaceUnit = 255;

}  // namespace

CBlock::CBlock(uint32_t id) : CID(id) {}

Extent CBlock::Measure() const {
  const bool track_codable = track_number <= kMaxKnownSize;
  uint64_t payload = static_cast<uint64_t>(track_codable ? CLength::Width(track_number) : 8) + 3;
  if (frames.size() > 1) {
    payload += 1;
    for (size_t i = 0; i + 1 < frames.size(); ++i) {
      payload += frames[i].size() / kLaceUnit + 1;
    }
  }
  for (const auto& frame : frames) {
    payload += frame.size();
  }
  Extent extent = Standard(payload);
  extent.codable = extent.codable && track_codable && frames.size() <= kMaxLacedFrames;
  return extent;
}

size_t CBlock::EncodeHead(uint64_t payload, uint8_t* out) const {
  size_t n = EncodeHeader(payload, out);
  n += CLength::Encode(track_number, CLength::Width(track_number), out + n);
  const auto timecode = static_cast<uint16_t>(static_cast<uint64_t>(start));
  out[n++] = static_cast<uint8_t>(timecode >> 8);
  out[n++] = static_cast<uint8_t>(timecode);
  const bool laced = frames.size() > 1;
  out[n++] = static_cast<uint8_t>(KeyFlag() | (laced ? kXiphLacing : 0));
  return n;
}

int32_t CBlock::Emit(kx::IStream& stream, const Extent& extent) const {
  ChunkWriter writer(stream);
  std::array<uint8_t, kMaxHeadBytes> head{};
  writer.Put(head.data(), EncodeHead(extent.payload, head.data()));
  if (frames.size() > 1) {
    writer.Put(static_cast<uint8_t>(frames.size() - 1));
    for (size_t i = 0; i + 1 < frames.size(); ++i) {
      const uint64_t size = frames[i].size();
      for (uint64_t n = size / kLaceUnit; n != 0; --n) {
        writer.Put(static_cast<uint8_t>(kLaceUnit));
      }
      writer.Put(static_cast<uint8_t>(size % kLaceUnit));
    }
  }
  for (const auto& frame : frames) {
    writer.Put(frame.data(), frame.size());
  }
  writer.Flush();
  return kx::kOk;
}

bool CBlock::AppendTo(ElementImage& image) {
  const Extent extent = Measure();
  if (!extent.codable) {
    return false;
  }
  if (frames.size() != 1) {
    return Write(image) >= 0;  // laced, or no frame at all: the general coding
  }
  image.Commit(EncodeHead(extent.payload, image.Reserve(kMaxHeadBytes)));
  AppendFrame(image);
  return true;
}

void CBlock::AppendFrame(ElementImage& image) {
  if (frames.empty()) {
    return;
  }
  std::vector<uint8_t>& frame = frames.front();
  if (frame.size() >= ElementImage::kTakenFrameBytes) {
    image.Take(std::move(frame), track_number);
    frame = {};
    return;
  }
  if (!frame.empty()) {
    std::memcpy(image.Reserve(frame.size()), frame.data(), frame.size());
    image.Commit(frame.size());
  }
}

void CBlock::Reset() {
  track_number = 0;
  start = 0;
  end = 0;
  frames.clear();
  keyframe = 0;
}

SimpleBlock::SimpleBlock() : CBlock(ids::kSimpleBlock) {}

uint8_t SimpleBlock::KeyFlag() const { return keyframe != 0 ? kKeyFrame : 0; }

}  // namespace MatroskaWriter
