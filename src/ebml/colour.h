// Colour description of a video track, with its HDR mastering metadata.
// Colour carries BT.709-style defaults from construction and is always
// written; MasteringMetadata is always written inside it, empty (55 D0 80)
// when nothing is set.
#ifndef KX_EBML_COLOUR_H_
#define KX_EBML_COLOUR_H_

#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class MasteringMetadata : public Master {
 public:
  MasteringMetadata();

  CFloat primary_r_chromaticity_x;
  CFloat primary_r_chromaticity_y;
  CFloat primary_g_chromaticity_x;
  CFloat primary_g_chromaticity_y;
  CFloat primary_b_chromaticity_x;
  CFloat primary_b_chromaticity_y;
  CFloat white_point_chromaticity_x;
  CFloat white_point_chromaticity_y;
  CFloat luminance_max;
  CFloat luminance_min;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

class Colour : public Master {
 public:
  Colour();

  CUInt matrix_coefficients;  // 1, set
  CUInt bits_per_channel;     // 0, set
  CUInt chroma_subsampling_horz;
  CUInt chroma_subsampling_vert;
  CUInt cb_subsampling_horz;
  CUInt cb_subsampling_vert;
  CUInt chroma_siting_horz;        // 0, set
  CUInt chroma_siting_vert;        // 0, set
  CUInt range;                     // 1, set
  CUInt transfer_characteristics;  // 1, set
  CUInt primaries;                 // 1, set
  CUInt max_cll;
  CUInt max_fall;
  MasteringMetadata mastering_metadata;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_COLOUR_H_
