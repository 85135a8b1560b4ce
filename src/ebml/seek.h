// The seek index. The class names are this system's own and cross the
// standard's: `Seek` is the SeekHead element (0x114D9B74) and each entry in it,
// a standard Seek element (0x4DBB), is a `SeekHead`.
#ifndef KX_EBML_SEEK_H_
#define KX_EBML_SEEK_H_

#include <cstdint>
#include <vector>

#include "src/ebml/element_ids.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

// SeekID: its payload is the ID bytes of the indexed element, held as a bare
// CID in `target` (empty while the target's ID is 0).
class SeekID : public Master {
 public:
  SeekID();

  CID target;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// One Seek entry (0x4DBB).
class SeekHead : public Master {
 public:
  SeekHead();

  // Codes the entry at the end of `out`, with the bytes Write gives.
  void AppendTo(std::vector<uint8_t>& out) const;

  SeekID seek_id;
  CUInt seek_position;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// The SeekHead element: its entries in the order they were added. An entry
// is coded when it is added, so that the index of a long file's Clusters is
// held as its bytes rather than as thousands of element objects, and the
// caller can fill one SeekHead again for the next.
class Seek : public CID {
 public:
  explicit Seek(uint32_t id = ids::kSeekHead);

  void Add(const SeekHead& entry);
  [[nodiscard]] bool empty() const { return entry_sizes_.empty(); }
  // Drops the first entry and returns its full size; 0 when there is none.
  uint64_t RemoveFirst();

  [[nodiscard]] Extent Measure() const override { return Standard(bytes_.size()); }

 protected:
  int32_t Emit(kx::IStream& stream, const Extent& extent) const override;

 private:
  std::vector<uint8_t> bytes_;
  std::vector<size_t> entry_sizes_;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SEEK_H_
