#include "src/ebml/colour.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

MasteringMetadata::MasteringMetadata()
    : Master(ids::kMasteringMetadata),
      primary_r_chromaticity_x(ids::kPrimaryRChromaticityX),
      primary_r_chromaticity_y(ids::kPrimaryRChromaticityY),
      primary_g_chromaticity_x(ids::kPrimaryGChromaticityX),
      primary_g_chromaticity_y(ids::kPrimaryGChromaticityY),
      primary_b_chromaticity_x(ids::kPrimaryBChromaticityX),
      primary_b_chromaticity_y(ids::kPrimaryBChromaticityY),
      white_point_chromaticity_x(ids::kWhitePointChromaticityX),
      white_point_chromaticity_y(ids::kWhitePointChromaticityY),
      luminance_max(ids::kLuminanceMax),
      luminance_min(ids::kLuminanceMin) {}

void MasteringMetadata::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(primary_r_chromaticity_x);
  visitor.Visit(primary_r_chromaticity_y);
  visitor.Visit(primary_g_chromaticity_x);
  visitor.Visit(primary_g_chromaticity_y);
  visitor.Visit(primary_b_chromaticity_x);
  visitor.Visit(primary_b_chromaticity_y);
  visitor.Visit(white_point_chromaticity_x);
  visitor.Visit(white_point_chromaticity_y);
  visitor.Visit(luminance_max);
  visitor.Visit(luminance_min);
}

Colour::Colour()
    : Master(ids::kColour),
      matrix_coefficients(ids::kMatrixCoefficients),
      bits_per_channel(ids::kBitsPerChannel),
      chroma_subsampling_horz(ids::kChromaSubsamplingHorz),
      chroma_subsampling_vert(ids::kChromaSubsamplingVert),
      cb_subsampling_horz(ids::kCbSubsamplingHorz),
      cb_subsampling_vert(ids::kCbSubsamplingVert),
      chroma_siting_horz(ids::kChromaSitingHorz),
      chroma_siting_vert(ids::kChromaSitingVert),
      range(ids::kRange),
      transfer_characteristics(ids::kTransferCharacteristics),
      primaries(ids::kPrimaries),
      max_cll(ids::kMaxCLL),
      max_fall(ids::kMaxFALL) {
  matrix_coefficients.Set(1);
  bits_per_channel.Set(0);
  chroma_siting_horz.Set(0);
  chroma_siting_vert.Set(0);
  range.Set(1);
  transfer_characteristics.Set(1);
  primaries.Set(1);
}

void Colour::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(matrix_coefficients);
  visitor.Visit(bits_per_channel);
  visitor.Visit(chroma_subsampling_horz);
  visitor.Visit(chroma_subsampling_vert);
  visitor.Visit(cb_subsampling_horz);
  visitor.Visit(cb_subsampling_vert);
  visitor.Visit(chroma_siting_horz);
  visitor.Visit(chroma_siting_vert);
  visitor.Visit(range);
  visitor.Visit(transfer_characteristics);
  visitor.Visit(primaries);
  visitor.Visit(max_cll);
  visitor.Visit(max_fall);
  visitor.Visit(mastering_metadata);
}

}  // namespace MatroskaWriter
