#include <vantiflux/values/Pose.h>

namespace Vantiflux {

Pose splitPose(const Matrix4<float>& m) {
  Pose pose;
  auto& [t, r] = pose;
  m.getTransform(t.x, t.y, t.z, r.x, r.y, r.z, r.w);
  return pose;
}

Matrix4<float> rotationMatrix(const Rotation& r) {
  const auto [x, y, z, w] = r;
  return Matrix4<float>({1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), 0, //
                         2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x), 0, //
                         2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y), 0, //
                         0, 0, 0, 1});
}

Matrix4<float> poseMatrix(const Pose& pose) {
  Matrix4<float> m = rotationMatrix(pose.rotation);
  m[3] = pose.position.x;
  m[7] = pose.position.y;
  m[11] = pose.position.z;
  return m;
}

} // namespace Vantiflux
