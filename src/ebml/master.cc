#include "src/ebml/master.h"

#include "src/ebml/size_plan.h"

namespace MatroskaWriter {
namespace {

// Adds up the children's full sizes, measuring them alone or, given a plan,
// recording them in it; a master can only be coded when all of its children
// can.
class SizeSum final : public ChildVisitor {
 public:
  explicit SizeSum(SizePlan* plan) : plan_(plan) {}

  void Visit(const CID& child) override { Add(child); }
  bool VisitListItem(const CID& child) override {
    Add(child);
    return true;
  }

  [[nodiscard]] uint64_t total() const { return total_; }
  [[nodiscard]] bool codable() const { return codable_; }

 private:
  void Add(const CID& child) {
    const Extent extent = plan_ != nullptr ? child.Plan(*plan_) : child.Measure();
    total_ += extent.total();
    codable_ = codable_ && extent.codable;
  }

  SizePlan* plan_;
  uint64_t total_ = 0;
  bool codable_ = true;
};

class ChildWriter final : public ChildVisitor {
 public:
  ChildWriter(kx::IStream& stream, SizePlan& plan) : stream_(stream), plan_(plan) {}

  void Visit(const CID& child) override { child.WritePlanned(stream_, plan_); }
  bool VisitListItem(const CID& child) override { return child.WritePlanned(stream_, plan_) >= 0; }
  void SkipListItem(const CID& /*child*/) override { plan_.SkipFrom(plan_.cursor()); }

 private:
  kx::IStream& stream_;
  SizePlan& plan_;
};

}  // namespace

Extent Master::Measure() const {
  SizeSum sum(nullptr);
  VisitChildren(sum);
  Extent extent = Standard(sum.total());
  extent.codable = extent.codable && sum.codable();
  return extent;
}

Extent Master::Plan(SizePlan& plan) const {
  const size_t index = plan.Open();
  SizeSum sum(&plan);
  VisitChildren(sum);
  Extent extent = Standard(sum.total());
  extent.codable = extent.codable && sum.codable();
  plan.Close(index, extent);
  return extent;
}

int32_t Master::EmitPlanned(kx::IStream& stream, const Extent& extent, SizePlan& plan) const {
  WriteHeader(stream, extent.payload);
  ChildWriter writer(stream, plan);
  VisitChildren(writer);
  return kx::kOk;
}

}  // namespace MatroskaWriter
