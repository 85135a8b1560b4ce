#include "src/ebml/video.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

Video::Video()
    : Master(ids::kVideo),
      flag_interlaced(ids::kFlagInterlaced),
      field_order(ids::kFieldOrder),
      stereo_mode(ids::kStereoMode),
      alpha_mode(ids::kAlphaMode),
      pixel_width(ids::kPixelWidth),
      pixel_height(ids::kPixelHeight),
      display_width(ids::kDisplayWidth),
      display_height(ids::kDisplayHeight),
      display_unit(ids::kDisplayUnit),
      aspect_ratio_type(ids::kAspectRatioType),
      colour_space(ids::kColourSpace),
      gamma_value(ids::kGammaValue),
      frame_rate(ids::kFrameRate) {}

void Video::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(flag_interlaced);
  visitor.Visit(field_order);
  visitor.Visit(stereo_mode);
  visitor.Visit(alpha_mode);
  visitor.Visit(pixel_width);
  visitor.Visit(pixel_height);
  visitor.Visit(display_width);
  visitor.Visit(display_height);
  visitor.Visit(display_unit);
  visitor.Visit(aspect_ratio_type);
  visitor.Visit(colour_space);
  visitor.Visit(colour);
  visitor.Visit(gamma_value);
  visitor.Visit(frame_rate);
  if (projection_switch != 0) {
    visitor.Visit(projection);
  }
}

}  // namespace MatroskaWriter
