// The EBML header at the start of every file. Only the children a muxer sets
// are written; readers apply the standard's defaults to the others.
#ifndef KX_EBML_EBML_HEADER_H_
#define KX_EBML_EBML_HEADER_H_

#include "src/ebml/ansi.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class EBML : public Master {
 public:
  EBML();

  CUInt ebml_version;
  CUInt ebml_read_version;
  CUInt ebml_max_id_length;
  CUInt ebml_max_size_length;
  CANSI doc_type;
  CUInt doc_type_version;
  CUInt doc_type_read_version;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_EBML_HEADER_H_
