// BlockGroup and its BlockAdditions. BlockAddID is set from construction and
// masters are never left out, so every group ends with BlockAdditions
// (75 A1 85 A6 83 EE 81 01) even without additional data.
#ifndef KX_EBML_BLOCK_GROUP_H_
#define KX_EBML_BLOCK_GROUP_H_

#include "src/ebml/binary.h"
#include "src/ebml/blocks.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class BlockMore : public Master {
 public:
  BlockMore();

  CUInt block_add_id;  // 1, set
  CBinary block_additional;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

class BlockAdditions : public Master {
 public:
  BlockAdditions();

  BlockMore block_more;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

class BlockGroup : public Master {
 public:
  BlockGroup();

  // Back to the state of a new group (every child below), so that the object
  // can carry another frame without being allocated again.
  void Reset();

  // Codes the whole group at the end of `image`, with the bytes Write gives;
  // the storage of a large frame moves into the image. Returns false, adding
  // nothing, for a group without coding.
  bool AppendTo(ElementImage& image);

  CUInt block_duration;
  CUInt reference_priority;
  CInt reference_block;
  CInt reference_virtual;
  CBinary codec_state;
  CBlock block;
  BlockAdditions block_additions;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;

 private:
  // AppendTo codes the usual group (scalars, a Block of at most one frame,
  // no codec state, no additional data) in one piece, with the bytes the
  // walk over its children (Write) gives, a few times faster; any other
  // group takes the walk.
  [[nodiscard]] bool IsPlain() const;
  struct PlainLayout {
    Extent group;
    uint64_t block_payload = 0;
    uint64_t more_payload = 0;       // BlockMore
    uint64_t additions_payload = 0;  // BlockAdditions
  };
  [[nodiscard]] PlainLayout LayOutPlain() const;
  // What comes before and after the frame in the usual group; `out` has room
  // for kPlainHeadRoom or kPlainTailRoom bytes. Return the bytes coded.
  static constexpr size_t kPlainHeadRoom =
      kMaxHeaderBytes + 4 * kMaxScalarBytes + CBlock::kMaxHeadBytes;
  static constexpr size_t kPlainTailRoom = 2 * kMaxHeaderBytes + kMaxScalarBytes;
  size_t EncodePlainHead(const PlainLayout& layout, uint8_t* out) const;
  size_t EncodePlainTail(const PlainLayout& layout, uint8_t* out) const;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_BLOCK_GROUP_H_
