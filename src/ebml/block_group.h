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

  [[nodiscard]] Extent Measure() const override;
  Extent Plan(SizePlan& plan) const override;

  CUInt block_duration;
  CUInt reference_priority;
  CInt reference_block;
  CInt reference_virtual;
  CBinary codec_state;
  CBlock block;
  BlockAdditions block_additions;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
  int32_t EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& plan) const override;

 private:
  // The usual group (scalars, a Block of at most one frame, no codec state,
  // no additional data) is measured and coded here in one piece, with the
  // bytes the walk over its children would give, a few times faster; any
  // other group takes the walk.
  [[nodiscard]] bool IsPlain() const;
  [[nodiscard]] Extent PlainExtent() const;
  // Payload of BlockAdditions around a BlockMore of `more_payload` bytes.
  [[nodiscard]] uint64_t PlainAdditionsPayload(uint64_t more_payload) const;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_BLOCK_GROUP_H_
