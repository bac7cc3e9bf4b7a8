#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// Where a body is, in metres, and how it is turned, by a unit quaternion: it turns first and moves then.
struct Pose {
  Vec3<float> position;
  Rotation rotation;
};

/// As Matrix4::getTransform, with all its turns.
VANTIFLUX_API Pose splitPose(const Matrix4<float>& m);

/// The rotation part that a quaternion stands for, which is taken as it is; no translation.
VANTIFLUX_API Matrix4<float> rotationMatrix(const Rotation& r);

/// The matrix of a pose, without any scale.
VANTIFLUX_API Matrix4<float> poseMatrix(const Pose& pose);

} // namespace Vantiflux
