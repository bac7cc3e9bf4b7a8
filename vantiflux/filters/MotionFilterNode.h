#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/filters/PoseFilterNode.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// Takes outliers out of tracker poses without delaying real motion: position and orientation of each stream pass an
/// average over their latest samples, which is left out for as long as the samples run strictly up or down in some
/// component.
///
/// | Field               | Default |                                                                           |
/// |---------------------|---------|---------------------------------------------------------------------------|
/// | "PosBufferSize"     | 33      | positions that an average takes in at most: 4 to 8192                     |
/// | "PosMonotonyLength" | 4       | samples that make a run: 0 (all is taken for motion), or 2 to buffer size |
/// | "OriBufferSize"     | 33      | the same for orientations                                                 |
/// | "OriMonotonyLength" | 4       |                                                                           |
///
/// A new buffer size drops the history of all streams, a new length nothing. The history outlives stop and start.
/// Slots, threads and states are those of PoseFilterNode.
///
/// *Matrices.* Scale and shear of a pose are lost. Rotations are read by Matrix4::getTransform with all its turns, and
/// averaged component by component in the signs that it gives: near half a turn, where q and -q meet, averages are off.
class VANTIFLUX_API MotionFilterNode : public PoseFilterNode, public NodeDescription<MotionFilterNode> {
public:
  /// A position with a zero, or a quaternion with its scalar last.
  using Point = std::array<float, 4>;

  /// The average of one part of one stream, over a ring of its latest samples. Not thread-safe.
  ///
  /// *The seam.* A walk back from the newest sample takes one right step across the end of the ring, and from there on
  /// sees the ring's last place again and again. So a run that began two or more steps before the seam does not count,
  /// and an average across the seam repeats that place. Kept on purpose, because saved set-ups depend on it.
  class VANTIFLUX_API Filter {
  public:
    /// The number of samples in the ring, at least 1.
    explicit Filter(std::uint32_t size);
    virtual ~Filter();

    /// Takes in a sample and, unless it ends a run of `monotonyLength`, replaces it by the average. Each sample that
    /// ends no run lets the average take in one more, up to the whole ring; after a run it begins short again.
    void filter(unsigned int monotonyLength, Point& p);
    /// Whether the newest samples, `length` of them, strictly rise or strictly fall in one component; 0 always does.
    bool isMonotone(unsigned int length) const;
    void getAverage(Point& result) const;

  private:
    template <class Ends>
    bool hasRun(std::size_t steps, Ends ends) const;

    std::vector<Point> points_;
    std::int32_t index_ = 0;         ///< place of the newest sample
    std::int32_t averageLength_ = 2; ///< newest samples that the next average takes in; below 1 it is all zero
    bool first_ = true;              ///< no sample has come yet: the first one fills the ring
  };

  MotionFilterNode();
  ~MotionFilterNode() override;

  const NodeType* type() const override;

  /// Filters one part of a pose in place, as the next sample of its stream; a rotation comes out with length 1. Throws
  /// the text "slotIndex out of range in MotionFilterNode::filter." as a std::string for a stream that is none.
  void filter(int slotIndex, Vec3<float>& v);
  void filter(int slotIndex, Rotation& r);
  /// Filters a pose in place and writes the stream's out-slots: "Out", "Position", "Orientation".
  void filter(int slotIndex, Matrix4<float>& m);

  /// A value that is not allowed gives the state Error and changes nothing else.
  void setPosBufferSize(unsigned int size) { setBufferSize(Position, size); }
  unsigned int getPosBufferSize() const { return parts_[Position].bufferSize; }
  void setPosMonotonyTestLength(unsigned int length) { setMonotonyTestLength(Position, length); }
  unsigned int getPosMonotonyTestLength() const { return parts_[Position].monotonyTestLength; }
  void setOriBufferSize(unsigned int size) { setBufferSize(Orientation, size); }
  unsigned int getOriBufferSize() const { return parts_[Orientation].bufferSize; }
  void setOriMonotonyTestLength(unsigned int length) { setMonotonyTestLength(Orientation, length); }
  unsigned int getOriMonotonyTestLength() const { return parts_[Orientation].monotonyTestLength; }

protected:
  void filterPose(std::size_t stream, Matrix4<float>& pose) override { filter(static_cast<int>(stream), pose); }

private:
  enum PartName : std::size_t { Position, Orientation, partCount };

  static constexpr std::uint32_t minBufferSize = 4;
  static constexpr std::uint32_t maxBufferSize = 8192;
  static constexpr std::uint32_t firstBufferSize = 33;
  static constexpr std::uint32_t firstMonotonyTestLength = 4;

  /// Settings of all positions, or of all orientations. Written under the settings lock, read by anybody.
  struct Part {
    const std::string prefix; ///< of the names that people see
    std::atomic<std::uint32_t> bufferSize{firstBufferSize};
    std::atomic<std::uint32_t> monotonyTestLength{firstMonotonyTestLength};
  };

  /// The history of one stream. The lock is for setters, which replace it, and for callers of `filter`; innermost.
  struct History {
    Tarsil::Mutex lock;
    std::array<std::unique_ptr<Filter>, partCount> filters TARSIL_GUARDED_BY(lock);
  };

  History& history(int slotIndex);
  void pass(History& history, PartName name, Point& p) TARSIL_REQUIRES(history.lock);
  void filterPart(History& history, Vec3<float>& v) TARSIL_REQUIRES(history.lock);
  void filterPart(History& history, Rotation& r) TARSIL_REQUIRES(history.lock);
  void setBufferSize(PartName name, std::uint32_t size);
  void setMonotonyTestLength(PartName name, std::uint32_t length);
  void resize(PartName name, std::uint32_t size);

  Tarsil::Mutex settingsLock_; ///< held while settings are checked against each other and changed
  std::array<Part, partCount> parts_{{{"pos"}, {"ori"}}};
  std::array<History, streamCount> histories_;
};

} // namespace Vantiflux
