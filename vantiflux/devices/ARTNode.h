#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/ARTParser.h>
#include <vantiflux/devices/PoseSlots.h>
#include <vantiflux/devices/TrackerNode.h>
#include <vantiflux/devices/ViconParser.h>
#include <vantiflux/platform/pelorn/UDP.h>

namespace Vantiflux {

/// Receives the bodies and sticks of an ART controller, which sends ASCII datagrams to a UDP port.
///
/// | Slot                      | Direction | Type             |                                   |
/// |---------------------------|-----------|------------------|-----------------------------------|
/// | "Position N"              | out       | `Vec3<float>`    | of body N, in metres              |
/// | "Orientation N"           | out       | `Rotation`       |                                   |
/// | "Matrix N"                | out       | `Matrix4<float>` | both in one                       |
/// | "FlyStick N Position" ... | out       |                  | the same three of stick N         |
/// | "FlyStick N Button #K"    | out       | `bool`           | K from 0 to 7; written on changes |
///
/// There are as many as the fields "MaxBodies" and "MaxFlySticks" say when the node is enabled; 1024 at most. Every
/// datagram writes the slots of all bodies that were seen so far. The other fields, see the table in the source, count
/// from the next start on.
///
/// *Frames.* The result is right-handed. Component K of it is component |a| of the controller's frame, negated if a is
/// negative, where a is number K of "Axis"; then "Center" is subtracted.
///
/// *Failure.* A port that cannot be bound, and an empty datagram, end the work with the state Error; a datagram in
/// another format sets it, and the work goes on. What is malformed within a datagram is passed over (see ARTParser). A
/// body of which there is no rotation, a single marker, has an orientation of zeros.
class VANTIFLUX_API ARTNode : public TrackerNode, public NodeDescription<ARTNode> {
public:
  using BodyRecord = ARTParser::BodyRecord;
  using ClientCodes = ViconChannels::ClientCodes; ///< what channels are called elsewhere; not used here

  static constexpr std::size_t limit = 1024; ///< of bodies, and of sticks

  ARTNode();
  ~ARTNode() override;

  const NodeType* type() const override;

  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }
  void setMaxBodies(int count) { maxBodies_.set(count); }
  int getMaxBodies() const { return maxBodies_.get(); }
  void setMaxFlySticks(int count) { maxFlySticks_.set(count); }
  int getMaxFlySticks() const { return maxFlySticks_.get(); }
  /// "A,B,C", each from -3 to 3 and not 0; anything else means "1,3,-2".
  void setAxis(const std::string& text);
  std::string getAxis() const;
  void setScale(float scale) { scale_.set(scale); }
  float getScale() const { return scale_.get(); }
  /// "X,Y,Z"; anything else means "0,0,0".
  void setCenter(const std::string& text);
  std::string getCenter() const;

  /// Turns datagrams into values of the node's slots: what the worker does with each.
  class VANTIFLUX_API Intake {
  public:
    /// For a node that is enabled, with the lock of structure held.
    explicit Intake(ARTNode& node);
    void take(std::string_view datagram);

  private:
    void pushValue(std::size_t index, const BodyRecord& record);
    void pushButtons(std::size_t stick, std::uint32_t buttons);

    ARTNode& node_;
    ARTParser parser_;
    Matrix4<float> axes_;
    Matrix4<float> inverse_;
    std::array<float, 3> center_{};
    std::vector<PoseSlots*> slots_; ///< the bodies', then the sticks'
    std::vector<OutSlot<bool>*> buttons_;
  };

protected:
  void initialize() override;
  void thread() override;
  void prepare() override;
  void interrupt() override { socket_.breakWait(); }

private:
  static constexpr std::size_t buttonsOfStick = 8;

  /// The slots of a stick.
  struct Stick {
    explicit Stick(const std::string& label);
    PoseSlots pose;
    std::array<OutSlot<bool>, buttonsOfStick> buttons;
  };

  bool openART();

  Setting<unsigned short> port_{12345};
  Setting<int> maxBodies_{16};
  Setting<int> maxFlySticks_{4};
  Setting<std::array<int, 3>> axis_{{1, 3, -2}};
  Setting<float> scale_{0.001F};
  Setting<std::array<float, 3>> center_;

  // Guarded by the lock of structure. Slots are added and never destroyed: see TrackerNode.
  std::vector<std::unique_ptr<PoseSlots>> bodies_;
  std::vector<std::unique_ptr<Stick>> sticks_;
  std::size_t bodyCount_ = 0; ///< how many of them are published
  std::size_t stickCount_ = 0;

  Pelorn::UDP socket_;
  std::unique_ptr<Intake> intake_; ///< of the present run
};

} // namespace Vantiflux
