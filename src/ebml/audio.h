// The Audio master of a track entry.
#ifndef KX_EBML_AUDIO_H_
#define KX_EBML_AUDIO_H_

#include "src/ebml/binary.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class Audio : public Master {
 public:
  Audio();

  CFloat sampling_frequency;
  CFloat output_sampling_frequency;
  CUInt channels;
  CBinary channel_positions;
  CUInt bit_depth;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_AUDIO_H_
