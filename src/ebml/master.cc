#include "src/ebml/master.h"

namespace MatroskaWriter {
namespace {

// Adds up the children's full sizes; a master can only be coded when all of
// its children can.
class SizeSum final : public ChildVisitor {
 public:
  void Visit(const CID& child) override { Add(child); }
  bool VisitListItem(const CID& child) override {
    Add(child);
    return true;
  }

  [[nodiscard]] uint64_t total() const { return total_; }
  [[nodiscard]] bool codable() const { return codable_; }

 private:
  void Add(const CID& child) {
    const Extent extent = child.Measure();
    total_ += extent.total();
    codable_ = codable_ && extent.codable;
  }

  uint64_t total_ = 0;
  bool codable_ = true;
};

class ChildWriter final : public ChildVisitor {
 public:
  explicit ChildWriter(kx::IStream& stream) : stream_(stream) {}

  void Visit(const CID& child) override { child.Write(stream_); }
  bool VisitListItem(const CID& child) override { return child.Write(stream_) >= 0; }

 private:
  kx::IStream& stream_;
};

}  // namespace

Extent Master::Measure() const {
  SizeSum sum;
  VisitChildren(sum);
  Extent extent = Standard(sum.total());
  extent.codable = extent.codable && sum.codable();
  return extent;
}

int32_t Master::Emit(kx::IStream& stream, const Extent& extent) const {
  WriteHeader(stream, extent.payload);
  ChildWriter writer(stream);
  VisitChildren(writer);
  return kx::kOk;
}

}  // namespace MatroskaWriter
