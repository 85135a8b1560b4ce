// The owned, ordered child list of the list masters (SeekHead, Cues,
// CuePoint, Tracks, Cluster). Children are appended at the tail, written from
// head to tail and destroyed with the list.
#ifndef KX_EBML_CHILD_LIST_H_
#define KX_EBML_CHILD_LIST_H_

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "src/ebml/cid.h"
#include "src/ebml/master.h"
#include "src/io/istream.h"

namespace MatroskaWriter {

template <typename T>
class ChildList {
  static_assert(std::is_base_of_v<CID, T>, "a child list holds elements");
  using Storage = std::vector<std::unique_ptr<T>>;

 public:
  // Iterates over the children themselves rather than their owning pointers.
  template <typename Inner, typename Value>
  class Iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = std::remove_const_t<Value>;
    using difference_type = std::ptrdiff_t;
    using pointer = Value*;
    using reference = Value&;

    Iterator() = default;
    explicit Iterator(Inner inner) : inner_(inner) {}

    reference operator*() const { return **inner_; }
    pointer operator->() const { return inner_->get(); }
    Iterator& operator++() {
      ++inner_;
      return *this;
    }
    Iterator operator++(int) {
      Iterator before = *this;
      ++inner_;
      return before;
    }
    bool operator==(const Iterator& other) const { return inner_ == other.inner_; }
    bool operator!=(const Iterator& other) const { return inner_ != other.inner_; }

   private:
    Inner inner_{};
  };
  using iterator = Iterator<typename Storage::iterator, T>;
  using const_iterator = Iterator<typename Storage::const_iterator, const T>;

  // A null child is ignored: the list never holds an empty slot that writing
  // would have to dereference.
  void Append(std::unique_ptr<T> child) {
    if (child) {
      children_.push_back(std::move(child));
    }
  }
  void Clear() { children_.clear(); }
  // Hands every child, head first, to `take` and empties the list, which
  // keeps its storage for the next children.
  template <typename Take>
  void Release(Take&& take) {
    for (auto& child : children_) {
      take(std::move(child));
    }
    children_.clear();
  }
  // Destroys the head child; does nothing on an empty list.
  void RemoveFirst() {
    if (!children_.empty()) {
      children_.erase(children_.begin());
    }
  }

  [[nodiscard]] size_t size() const { return children_.size(); }
  [[nodiscard]] bool empty() const { return children_.empty(); }
  // On an empty list these throw std::out_of_range instead of reading past
  // the storage.
  T& front() { return *At(0); }
  [[nodiscard]] const T& front() const { return *At(0); }
  T& back() { return *At(children_.size() - 1); }
  [[nodiscard]] const T& back() const { return *At(children_.size() - 1); }

  iterator begin() { return iterator(children_.begin()); }
  iterator end() { return iterator(children_.end()); }
  [[nodiscard]] const_iterator begin() const { return const_iterator(children_.begin()); }
  [[nodiscard]] const_iterator end() const { return const_iterator(children_.end()); }

  // Sum of the children's full sizes.
  [[nodiscard]] uint64_t Size() const {
    uint64_t total = 0;
    for (const auto& child : children_) {
      total += child->Size(true);
    }
    return total;
  }

  // Writes head to tail and stops at the first child whose Write fails,
  // returning that result; 0 otherwise.
  int32_t Write(kx::IStream& stream) const {
    for (const auto& child : children_) {
      const int32_t result = child->Write(stream);
      if (result < 0) {
        return result;
      }
    }
    return kx::kOk;
  }

  // For the owning master's VisitChildren. Once the visitor ends the list,
  // the children after it are only passed over.
  void Visit(ChildVisitor& visitor) const {
    bool ended = false;
    for (const auto& child : children_) {
      if (ended) {
        visitor.SkipListItem(*child);
      } else {
        ended = !visitor.VisitListItem(*child);
      }
    }
  }

 private:
  [[nodiscard]] T* At(size_t index) const {
    if (index >= children_.size()) {
      throw std::out_of_range("ChildList: no such child");
    }
    return children_[index].get();
  }

  Storage children_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_CHILD_LIST_H_
