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

  CUInt block_duration;
  CUInt reference_priority;
  CInt reference_block;
  CInt reference_virtual;
  CBinary codec_state;
  CBlock block;
  BlockAdditions block_additions;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_BLOCK_GROUP_H_
