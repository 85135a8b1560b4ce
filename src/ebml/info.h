// Segment information. TimecodeScale is set (1 ms) from construction, so a
// fresh Info is never empty; Duration is a 4-byte float so that it can be
// rewritten in place at the end.
#ifndef KX_EBML_INFO_H_
#define KX_EBML_INFO_H_

#include "src/ebml/binary.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"
#include "src/ebml/utf8.h"

namespace MatroskaWriter {

class Info : public Master {
 public:
  Info();

  CBinary segment_uid;
  CBinary prev_uid;
  CBinary next_uid;
  CUTF8 segment_filename;
  CUTF8 prev_filename;
  CUTF8 next_filename;
  CUInt timecode_scale;
  CFloat duration;
  CInt date_utc;
  CUTF8 title;
  CUTF8 muxing_app;
  CUTF8 writing_app;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_INFO_H_
