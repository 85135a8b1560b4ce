// The Projection element of a video track (360-degree video). Whether it is
// written at all is decided by the owning Video's projection switch.
#ifndef KX_EBML_PROJECTION_H_
#define KX_EBML_PROJECTION_H_

#include "src/ebml/binary.h"
#include "src/ebml/master.h"
#include "src/ebml/scalars.h"

namespace MatroskaWriter {

class VRProjection : public Master {
 public:
  VRProjection();

  CUInt projection_type;
  CBinary projection_private;
  CFloat projection_pose_yaw;
  CFloat projection_pose_pitch;
  CFloat projection_pose_roll;

 protected:
  void VisitChildren(ChildVisitor& visitor) const override;
};

}  // namespace MatroskaWriter

#endif  // KX_EBML_PROJECTION_H_
