#pragma once

#include <cstddef>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/TypeName.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// The out-slots of one tracked body: where it is, how it is turned, and both in one matrix. Positions are in metres.
struct PoseSlots {
  PoseSlots(const std::string& positionText, const std::string& orientationText, const std::string& matrixText)
      : position(positionText), orientation(orientationText), matrix(matrixText) {}
  /// Described by their labels: see TrackerNode::addPose.
  explicit PoseSlots(std::size_t number)
      : PoseSlots("Position " + std::to_string(number), "Orientation " + std::to_string(number),
                  "Matrix " + std::to_string(number)) {}

  OutSlot<Vec3<float>> position;
  OutSlot<Rotation> orientation;
  OutSlot<Matrix4<float>> matrix;
};

} // namespace Vantiflux
