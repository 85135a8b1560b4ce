// The seek index. The class names are this system's own and cross the
// standard's: `Seek` is the SeekHead element (0x114D9B74) and each entry in it,
// a standard Seek element (0x4DBB), is a `SeekHead`.
#ifndef KX_EBML_SEEK_H_
#define KX_EBML_SEEK_H_

#include <cstdint>

#include "src/ebml/child_list.h"
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

  SeekID seek_id;
  CUInt seek_position;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

// The SeekHead element: its entries in the order they were added.
class Seek : public Master {
 public:
  explicit Seek(uint32_t id = ids::kSeekHead);

  ChildList<SeekHead> entries;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_SEEK_H_
