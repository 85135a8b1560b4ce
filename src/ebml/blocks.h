// Blocks: the Block inside a BlockGroup (CBlock) and the SimpleBlock. Both
// carry a track number, a timecode relative to the cluster and the frames.
#ifndef KX_EBML_BLOCKS_H_
#define KX_EBML_BLOCKS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "src/ebml/cid.h"
#include "src/ebml/element_ids.h"
#include "src/ebml/element_image.h"

namespace MatroskaWriter {

// Payload: track number (EBML variable-length integer), the low 16 bits of
// `start` big-endian, a flags byte, a Xiph lacing header when there is more
// than one frame, then the frames' bytes.
class CBlock : public CID {
 public:
  // Xiph lacing stores the frame count less one in a byte. A block with more
  // frames has no coding; Write refuses it rather than writing a block whose
  // frames a reader would split wrongly.
  static constexpr size_t kMaxLacedFrames = 256;

  explicit CBlock(uint32_t id = ids::kBlock);

  [[nodiscard]] Extent Measure() const override;

  // Codes what precedes the lacing header and the frames (ID, size field
  // for `payload`, track number, timecode, flags) into `out`, which has room
  // for kMaxHeadBytes; returns the number of bytes.
  static constexpr size_t kMaxHeadBytes = kMaxHeaderBytes + 8 + 3;
  size_t EncodeHead(uint64_t payload, uint8_t* out) const;

  // Codes the whole block at the end of `image`, with the bytes Write gives;
  // the storage of a large single frame moves into the image (owned by the
  // track number). Returns false, adding nothing, for a block without coding.
  bool AppendTo(ElementImage& image);
  // Appends the block's first frame (if any) to `image`, taken over when it
  // is large.
  void AppendFrame(ElementImage& image);

  uint64_t track_number = 0;
  // Milliseconds; relative to the cluster once the block is in one. Only the
  // low 16 bits are written, so the muxer keeps it within -32768..32767.
  int64_t start = 0;
  int64_t end = 0;  // kept for the muxer's durations, never written
  std::vector<std::vector<uint8_t>> frames;
  int32_t keyframe = 0;  // a Block does not code it; a SimpleBlock does

  // Back to the state of a new block, so that the object can carry another
  // frame without being allocated again.
  void Reset();

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;
  // Flag bits besides lacing.
  [[nodiscard]] virtual uint8_t KeyFlag() const { return 0; }
};

// Muxers give a SimpleBlock exactly one frame and set 0x80 for key frames.
// Should one ever hold several frames they are Xiph-laced (flag 0x02) like a
// Block's, which is a valid SimpleBlock, instead of being run together.
class SimpleBlock : public CBlock {
 public:
  SimpleBlock();

 protected:
  [[nodiscard]] uint8_t KeyFlag() const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_BLOCKS_H_
