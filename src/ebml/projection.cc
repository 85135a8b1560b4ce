#include "src/ebml/projection.h"

#include "src/ebml/element_ids.h"

namespace MatroskaWriter {

VRProjection::VRProjection()
    : Master(ids::kProjection),
      projection_type(ids::kProjectionType),
      projection_private(ids::kProjectionPrivate),
      projection_pose_yaw(ids::kProjectionPoseYaw),
      projection_pose_pitch(ids::kProjectionPosePitch),
      projection_pose_roll(ids::kProjectionPoseRoll) {}

void VRProjection::VisitChildren(ChildVisitor& visitor) const {
  visitor.Visit(projection_type);
  visitor.Visit(projection_private);
  visitor.Visit(projection_pose_yaw);
  visitor.Visit(projection_pose_pitch);
  visitor.Visit(projection_pose_roll);
}

}  // namespace MatroskaWriter
