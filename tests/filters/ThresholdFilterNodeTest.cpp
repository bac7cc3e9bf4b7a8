#include <vantiflux/filters/ThresholdFilterNode.h>

#include <cmath>
#include <initializer_list>

#include <filters/Support.h>
#include <gtest/gtest.h>

namespace {

using namespace test;
using Vantiflux::ThresholdFilterNode;

TEST(ThresholdFilterNode, HoldsWhatMovedTooLittle) {
  Rig<ThresholdFilterNode> rig(7);
  constexpr float near = 0.01F, turn = 0.004F;
  rig.node().setFieldValue("PosThreshold", "0.01");
  rig.node().setFieldValue("OriThreshold", "-0.004"); // a sign counts for nothing
  Noise noise;
  Vector heldPosition;
  Rotation heldRotation(0, 0, 0, 1);
  int counts[2][2] = {};
  for (int step = 0; step < 500; ++step) {
    // Drifts slowly, with jumps: the drift passes once it adds up.
    const float along = 0.0015F * static_cast<float>(step) + noise(0.003F);
    const float angle = 0.002F * static_cast<float>(step) + noise(0.004F);
    Matrix m = makePose({along, 0.2F, noise(0.003F) + (step % 50 == 30 ? 0.5F : 0.0F)}, {0, 1, 1}, angle);
    if (step % 3 == 0)
      for (const std::size_t i : {0U, 1U, 2U, 4U, 5U, 6U, 8U, 9U, 10U})
        m[i] *= 1.5F; // a scale passes where nothing is held
    Vector position;
    Rotation rotation;
    split(m, position, rotation);
    const auto distance = [](std::initializer_list<float> differences) {
      double sum = 0;
      for (const float d : differences)
        sum += static_cast<double>(d) * static_cast<double>(d);
      return std::sqrt(sum);
    };
    const bool positionHeld = distance({position.x - heldPosition.x, position.y - heldPosition.y,
                                        position.z - heldPosition.z}) < static_cast<double>(near);
    const bool rotationHeld =
        distance({rotation.x - heldRotation.x, rotation.y - heldRotation.y, rotation.z - heldRotation.z,
                  rotation.w - heldRotation.w}) < static_cast<double>(turn);
    if (!positionHeld)
      heldPosition = position;
    if (!rotationHeld)
      heldRotation = rotation;
    ++counts[positionHeld][rotationHeld];

    const Filtered f = rig.send(m);
    ASSERT_EQ(f.position, heldPosition) << step;
    ASSERT_EQ(f.orientation, heldRotation) << step;
    if (!positionHeld && !rotationHeld) {
      ASSERT_EQ(f.out, m) << step;
      continue;
    }
    Vector outPosition;
    Rotation outRotation;
    split(f.out, outPosition, outRotation);
    EXPECT_EQ(outPosition, heldPosition);
    EXPECT_LT(ThresholdFilterNode::getDistanceSq(outRotation, heldRotation), 1e-11F);
  }
  for (const auto& row : counts)
    for (const int count : row)
      EXPECT_GT(count, 10);
}

TEST(ThresholdFilterNode, ExactlyTheThresholdPasses) {
  Rig<ThresholdFilterNode> rig;
  rig.node().setPosThreshold(0.25F);
  const auto sendX = [&rig](float x) { return rig.send(makePose({x, 0, 0}, {0, 0, 1}, 0)).position.x; };
  EXPECT_EQ(sendX(0.2F), 0);
  EXPECT_EQ(sendX(0.25F), 0.25F);
  EXPECT_EQ(sendX(0.4375F), 0.25F);
  EXPECT_EQ(sendX(0.5F), 0.5F);
  rig.node().setPosThreshold(0);
  EXPECT_EQ(sendX(0.5000001F), 0.5000001F);
}

} // namespace
