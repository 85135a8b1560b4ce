// The Video master of a track entry. Colour is always written (it carries
// defaults); Projection only while the projection switch is non-zero.
#ifndef KX_EBML_VIDEO_H_
#define KX_EBML_VIDEO_H_

#include <cstdint>

#include "src/ebml/colour.h"
#include "src/ebml/master.h"
#include "src/ebml/projection.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class Video : public Master {
 public:
  Video();

  CUInt flag_interlaced;
  CUInt field_order;
  CUInt stereo_mode;
  CUInt alpha_mode;
  CUInt pixel_width;
  CUInt pixel_height;
  CUInt display_width;
  CUInt display_height;
  CUInt display_unit;
  CUInt aspect_ratio_type;
  CUInt colour_space;
  Colour colour;
  CFloat gamma_value;
  CFloat frame_rate;
  VRProjection projection;
  uint32_t projection_switch = 0;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_VIDEO_H_
