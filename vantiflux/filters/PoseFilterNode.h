#pragma once

#include <array>
#include <cstddef>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Data.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/TypeName.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// What the filters of tracker poses have in common: eight streams of poses that do not touch each other.
///
/// For each i from 0 to 7:
///
/// | Slot            | Direction | Type             |                                       |
/// |-----------------|-----------|------------------|---------------------------------------|
/// | "Position i"    | out       | `Vec3<float>`    | the translation of the filtered pose  |
/// | "Orientation i" | out       | `Rotation`       | its rotation                          |
/// | "Out i"         | out       | `Matrix4<float>` | the filtered pose                     |
/// | "In i"          | in        | `Matrix4<float>` | a pose                                |
///
/// Each pose that comes in gives one value on each out-slot of its stream, stamped with the current time, which is read
/// once for the three: they are parts of one pose.
///
/// *Frames.* A pose maps the sensor's coordinates to the tracker's; vectors are columns. *Units* are the tracker's.
///
/// *Threads.* No thread of its own: it works in the writer's. Several writers of one stream wait for each other, those
/// of different streams do not. Fields may be set while values flow.
///
/// *States.* Running while a slot is in use. A setting that is refused gives Error and a line in the log; the node goes
/// on with the old one, and the next start clears the error. Poses are filtered in every state.
///
/// A derived class calls `disable` in its own destructor.
class VANTIFLUX_API PoseFilterNode : public Node {
public:
  static constexpr std::size_t streamCount = 8;

  ~PoseFilterNode() override;

  void start() override;
  void stop() override;
  void newData(BasicInSlot& slot) override;

protected:
  struct Stream {
    OutSlot<Vec3<float>> position{"Position"};
    OutSlot<Rotation> orientation{"Orientation"};
    OutSlot<Matrix4<float>> out{"Out"};
    InSlot<Matrix4<float>> in{"In"};
  };

  PoseFilterNode();

  /// Filters a pose and writes the out-slots of its stream. Calls for one stream follow each other.
  virtual void filterPose(std::size_t stream, Matrix4<float>& pose) = 0;

  /// The current time, as Data takes it.
  static BasicData::TimeStamp now();

  /// Reports a setting that is not taken.
  void refuse(const std::string& why);

  std::array<Stream, streamCount> streams_;
};

} // namespace Vantiflux
