// Base of the master elements. A master names its children, in writing order,
// in one function (VisitChildren); its size and its output are both derived
// from that one list, so the two cannot drift apart.
#ifndef KX_EBML_MASTER_H_
#define KX_EBML_MASTER_H_

#include <cstdint>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class ChildVisitor {
 public:
  // A fixed child (a member of the master). Its write result is ignored.
  virtual void Visit(const CID& child) = 0;
  // A child of an owned list; returning false ends the list (the write of
  // that child failed).
  virtual bool VisitListItem(const CID& child) = 0;
  // A child of a list that ended early: it is not written.
  virtual void SkipListItem(const CID& /*child*/) {}

 protected:
  ChildVisitor() = default;
  ChildVisitor(const ChildVisitor&) = default;
  ChildVisitor& operator=(const ChildVisitor&) = default;
  ChildVisitor(ChildVisitor&&) = default;
  ChildVisitor& operator=(ChildVisitor&&) = default;
  ~ChildVisitor() = default;
};

// The payload is the sum of the children's full sizes; a master is written
// even when none of its children is present (ID then size byte 80). Write
// returns 0 whatever its children return.
class Master : public CID {
 public:
  using CID::CID;

  [[nodiscard]] Extent Measure() const override;
  Extent Plan(SizePlan& plan) const override;

 protected:
  // Hands every child that is part of the element, in writing order, to
  // `visitor`: fixed children through Visit, list children through
  // VisitListItem (stopping when it returns false).
  virtual void VisitChildren(ChildVisitor& visitor) const = 0;

  int32_t EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& plan) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_MASTER_H_
