#include <vantiflux/devices/PoseSlots.h>

namespace Vantiflux {

Matrix4<float> poseMatrix(const Rotation& rotation, const Vec3<float>& position) {
  const auto [x, y, z, w] = rotation;
  return Matrix4<float>({1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y), position.x,
                         2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x), position.y,
                         2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y), position.z, 0, 0, 0, 1});
}

} // namespace Vantiflux
