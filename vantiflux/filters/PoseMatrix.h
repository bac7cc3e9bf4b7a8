#pragma once

#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// A pose in its two parts.
struct Pose {
  Vec3<float> position;
  Rotation rotation;
};

/// As Matrix4::getTransform, with all its turns.
Pose splitPose(const Matrix4<float>& m);

/// The rotation part that a quaternion stands for, which is taken as it is; no translation.
Matrix4<float> rotationMatrix(const Rotation& r);

/// The matrix of a pose, without any scale.
Matrix4<float> poseMatrix(const Pose& pose);

} // namespace Vantiflux
