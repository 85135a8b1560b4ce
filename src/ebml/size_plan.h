// The extents of a tree of elements, measured in one walk before the tree is
// written: a master's size field needs the sizes of everything below it, and
// without the plan each nesting level would measure its subtree again.
// Entries are in writing order (an element, then its children); each knows
// where its subtree ends, so that a child that is not written can be passed
// over with everything below it.
#ifndef KX_EBML_SIZE_PLAN_H_
#define KX_EBML_SIZE_PLAN_H_

#include <cstddef>
#include <vector>

#include "src/ebml/cid.h"

namespace MatroskaWriter {

class SizePlan {
 public:
  // A leaf: its extent, with no subtree.
  void Add(const Extent& extent) { entries_.push_back({extent, entries_.size() + 1}); }
  // A master: reserves its entry before its children are added...
  size_t Open() {
    if (entries_.empty()) {
      entries_.reserve(kTypicalTree);
    }
    entries_.push_back({});
    return entries_.size() - 1;
  }
  // ... and fills it in after them.
  void Close(size_t index, const Extent& extent) { entries_[index] = {extent, entries_.size()}; }

  // The extent of the element at the cursor; the cursor moves to its first
  // child. Past the end (a tree that changed shape) it is an absent element.
  Extent Next() {
    if (cursor_ >= entries_.size()) {
      return {};
    }
    return entries_[cursor_++].extent;
  }
  [[nodiscard]] size_t cursor() const { return cursor_; }
  // Moves the cursor past the subtree whose entry is at `index`.
  void SkipFrom(size_t index) {
    cursor_ = index < entries_.size() ? entries_[index].end : entries_.size();
  }

 private:
  static constexpr size_t kTypicalTree = 32;  // a CuePoint, a TrackEntry

  struct Entry {
    Extent extent;
    size_t end = 0;  // index after the last entry of the subtree
  };
  std::vector<Entry> entries_;
  size_t cursor_ = 0;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SIZE_PLAN_H_
