#pragma once

#include <cmath>
#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <utility>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/values/SlotTypes.h>

namespace test {

using Matrix = Vantiflux::Matrix4<float>;
using Vector = Vantiflux::Vec3<float>;
using Vantiflux::Rotation;

/// A pose turned about an axis of any length, by the formula of Rodrigues.
inline Matrix makePose(const Vector& position, const Vector& axis, float angle) {
  const float length = std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
  const float x = axis.x / length, y = axis.y / length, z = axis.z / length;
  const float c = std::cos(angle), s = std::sin(angle), d = 1 - c;
  return Matrix({c + x * x * d, x * y * d - z * s, x * z * d + y * s, position.x, //
                 y * x * d + z * s, c + y * y * d, y * z * d - x * s, position.y, //
                 z * x * d - y * s, z * y * d + x * s, c + z * z * d, position.z, //
                 0, 0, 0, 1});
}

inline void split(const Matrix& m, Vector& position, Rotation& rotation) {
  m.getTransform(position.x, position.y, position.z, rotation.x, rotation.y, rotation.z, rotation.w);
}

class Noise {
public:
  float operator()(float size) { return size * uniform_(random_); }

private:
  std::mt19937 random_;
  std::uniform_real_distribution<float> uniform_{-1, 1};
};

/// What a filter made of a pose.
struct Filtered {
  Matrix out;
  Vector position;
  Rotation orientation;
};

/// A filter node in a tree, with a writer to one of its streams and readers of it.
template <class NodeClass>
class Rig {
public:
  explicit Rig(std::size_t stream = 0) {
    auto made = std::make_unique<NodeClass>();
    node_ = made.get();
    top_.enable();
    top_.addNamespace("Filter", std::move(made));
    top_.addOutSlot("Source", &source);
    top_.addInSlot("Out", &out_);
    top_.addInSlot("Position", &position_);
    top_.addInSlot("Orientation", &orientation_);
    const std::string number = " " + std::to_string(stream);
    for (const char* const name : {"Out", "Position", "Orientation"})
      top_.addRoute("Filter/" + (name + number), name);
    in_ = "Filter/In" + number;
    connect();
  }
  ~Rig() {
    top_.removeNamespace("Filter");
    top_.removeOutSlot("Source", &source);
    top_.removeInSlot("Out", &out_);
    top_.removeInSlot("Position", &position_);
    top_.removeInSlot("Orientation", &orientation_);
  }

  NodeClass& node() { return *node_; }
  void connect() { top_.addRoute("Source", in_); }
  /// Takes all slots of the node out of use, and back into it.
  void restart() {
    top_.disable();
    top_.enable();
  }
  Filtered send(const Matrix& m) {
    source.push(m);
    return {out_.pop().getValue(), position_.pop().getValue(), orientation_.pop().getValue()};
  }

  Vantiflux::OutSlot<Matrix> source;

private:
  Vantiflux::Namespace top_;
  NodeClass* node_;
  std::string in_;
  Vantiflux::InSlot<Matrix> out_;
  Vantiflux::InSlot<Vector> position_;
  Vantiflux::InSlot<Rotation> orientation_;
};

} // namespace test
