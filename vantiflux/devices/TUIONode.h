#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/OSCMessage.h>
#include <vantiflux/platform/pelorn/UDP.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

/// Receives what touches a surface, or lies on it, by the TUIO protocol: Open Sound Control in datagrams. Keeps all
/// sessions (a session is the life of one finger, object or blob), and publishes all of them at the end of each frame.
///
/// | Slot                | Direction | Type                           |                                            |
/// |---------------------|-----------|--------------------------------|--------------------------------------------|
/// | "isActive"          | out       | `bool`                         | true, written last of all, once a frame    |
/// | "sequenceID"        | out       | `long`                         | the frame's number                         |
/// | "addID"             | out       | `SmartPtr<vector<long>>`       | sessions that have come; not if none       |
/// | "removeID"          | out       | `SmartPtr<vector<long>>`       | sessions that have gone; not if none       |
/// | "eventMap"          | out       | `SmartPtr<vector<long>>`       | the number of each session                 |
/// | "objectID"          | out       | `SmartPtr<vector<long>>`       | which object it is                         |
/// | "position"          | out       | `SmartPtr<vector<Vec3<float>>>`| from 0 to 1                                |
/// | "velocity"          | out       | `SmartPtr<vector<Vec3<float>>>`| in lengths of the surface a second         |
/// | "acceleration"      | out       | `SmartPtr<vector<float>>`      |                                            |
/// | "angle"             | out       | `SmartPtr<vector<Vec3<float>>>`| in radians                                 |
/// | "angularVelocity"   | out       | `SmartPtr<vector<Vec3<float>>>`| in turns a second                          |
/// | "anglarAcceleration"| out       | `SmartPtr<vector<float>>`      |                                            |
/// | "dimension"         | out       | `SmartPtr<vector<Vec3<float>>>`| width, height, depth                       |
/// | "volume"            | out       | `SmartPtr<vector<float>>`      | or area                                    |
/// | "sightLoom"         | out       | `SmartPtr<vector<Vec3<float>>>`| x and y of the position, and the session   |
///
/// The vectors from "eventMap" to "sightLoom" are parallel: an element of each for every session, objects first, then
/// cursors, then blobs, each by the number of the session. What a profile does not tell is zero.
///
/// Field "Port": 0 takes a free port, which the short info tells.
///
/// *Profiles.* "/tuio/2Dobj", "2Dcur", "2Dblb", and the same in 3D. The messages of the 25D profiles are read from the
/// byte behind their address on, where their padding is: kept on purpose, because set-ups depend on what they do not
/// see. As they come from a sender that pads them they have no arguments.
///
/// *Threads.* One worker reads and pushes, while a slot is in use.
///
/// *Failure.* A port that cannot be bound leaves the node as it is, with a line in the log. A datagram whose parts do
/// not fit it, and a message that is malformed or unknown, are dropped; the first fault of a datagram is told on
/// standard error, and in the log once for as long as it is the same. None of it changes the state.
class VANTIFLUX_API TUIONode : public Node, public NodeDescription<TUIONode> {
public:
  /// What a message speaks of.
  enum interaction_type : unsigned {
    always = 1,
    object = 4,
    cursor = 8,
    blob = 16,
    kind = object | cursor | blob,
    two_dimensional = 32,
    two_and_a_half_dimensional = 64,
    three_dimensional = 128,
  };

  static constexpr int maxDatagram = 4096; ///< bytes; what is longer is cut, and so dropped
  /// As many sessions that have come, or gone, are kept for a frame that never ends.
  static constexpr std::size_t maxChanges = 65536;

  TUIONode();
  ~TUIONode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;

  void setPort(unsigned short port) { port_.set(port); }
  unsigned short getPort() const { return port_.get(); }

  /// What the worker does with a datagram; not while it runs. False if something was not taken.
  bool process_data(const char* data, unsigned size);

private:
  /// The state of one session.
  struct tuio_data {
    /// Where the groups of values begin.
    enum Place : std::size_t {
      position = 0,
      velocity = 3,
      acceleration = 6,
      angle = 7,
      angularVelocity = 10,
      angularAcceleration = 13,
      dimension = 14,
      volume = 17,
    };
    Vec3<float> vector(Place at) const { return {values[at], values[at + 1], values[at + 2]}; }

    std::int32_t id = 0;
    std::array<float, 18> values{};
  };
  using Sessions = std::map<std::int32_t, tuio_data>;
  using Shown = std::pair<const std::int32_t, tuio_data>;

  template <class T>
  using List = SmartPtr<std::vector<T>>;

  bool open();
  void thread();
  bool process_message(std::string_view message);
  bool process_command(unsigned type, std::string_view command);
  void prepare_data(unsigned type);
  void process_data(unsigned type);
  void send_data();
  template <class T, class Get>
  List<T> listOf(Get&& get) const;
  void noteChange(std::vector<long>& changes, std::int32_t session);
  static void sendChanges(OutSlot<List<long>>& slot, std::vector<long>& changes);
  void report(const std::string& text);
  void reportFault(const std::string& text);

  Setting<unsigned short> port_{3333};

  OutSlot<bool> isActive_{"Sends on recived events"};
  OutSlot<long> sequenceID_{"Sequence ID"};
  OutSlot<List<long>> addID_{"Sends on new ID"};
  OutSlot<List<long>> removeID_{"Sends on remove ID"};
  OutSlot<List<long>> eventMap_{"Holds the ID of event"};
  OutSlot<List<long>> objectID_{"Object Type"};
  OutSlot<List<Vec3<float>>> position_{"Position"};
  OutSlot<List<Vec3<float>>> velocity_{"Velocity"};
  OutSlot<List<float>> acceleration_{"Acceleration"};
  OutSlot<List<Vec3<float>>> angle_{"Angle"};
  OutSlot<List<Vec3<float>>> angularVelocity_{"Angular Velocity"};
  OutSlot<List<float>> anglarAcceleration_{"Angular Acceleration"};
  OutSlot<List<Vec3<float>>> dimension_{"Dimension"};
  OutSlot<List<float>> volume_{"Area / Volume"};
  OutSlot<List<Vec3<float>>> sightLoom_{"Sightloom like Interface"};

  // The worker's.
  std::map<unsigned, Sessions> sessions_; ///< by their kind
  std::vector<long> added_;
  std::vector<long> removed_;
  std::string trouble_; ///< the latest in the log
  bool faulty_ = false; ///< the datagram; its first fault was reported

  // What lasts for a message or a frame, kept for its memory.
  std::vector<std::string_view> elements_;
  OSC::Arguments tags_;
  std::vector<std::int32_t> alive_;
  std::vector<const Shown*> shown_;

  Pelorn::UDP socket_;
  NodeWorker worker_;
};

} // namespace Vantiflux
