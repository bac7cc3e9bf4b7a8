#pragma once

#include <array>
#include <atomic>
#include <cstddef>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/filters/PoseFilterNode.h>

namespace Vantiflux {

/// Holds tracker poses still until they have changed by a minimum, so that a sensor at rest gives identical frames.
/// Position and rotation are held independently; each new value is compared with the one that passed last, so a slow
/// drift passes once it adds up. Every pose that comes in is answered, held or not.
///
/// | Field          | Default |                                                                          |
/// |----------------|---------|--------------------------------------------------------------------------|
/// | "PosThreshold" | 0.007   | distance that a position must have moved, in the units of the tracker    |
/// | "OriThreshold" | 0.0022  | distance of quaternions in four dimensions: half the angle, if small     |
///
/// 0 passes everything, a sign counts for nothing. A pose of which nothing is held passes as it came, scale and all.
/// Until something has passed a stream holds the position zero and no turn. Slots, threads and states are those of
/// PoseFilterNode.
class VANTIFLUX_API ThresholdFilterNode : public PoseFilterNode, public NodeDescription<ThresholdFilterNode> {
public:
  ThresholdFilterNode();
  ~ThresholdFilterNode() override;

  const NodeType* type() const override;

  void setPosThreshold(float threshold) { posThreshold_ = threshold; }
  float getPosThreshold() const { return posThreshold_; }
  void setOriThreshold(float threshold) { oriThreshold_ = threshold; }
  float getOriThreshold() const { return oriThreshold_; }

  /// The squared distance of two points, in three and in four dimensions.
  static float getDistanceSq(const Vec3<float>& a, const Vec3<float>& b);
  static float getDistanceSq(const Rotation& a, const Rotation& b);

protected:
  void filterPose(std::size_t stream, Matrix4<float>& pose) override;

private:
  struct Passed {
    Vec3<float> position;
    Rotation rotation{0, 0, 0, 1};
  };

  std::atomic<float> posThreshold_{0.007F};
  std::atomic<float> oriThreshold_{0.0022F};
  std::array<Passed, streamCount> passed_; ///< what passed last; of each stream's writer
};

} // namespace Vantiflux
