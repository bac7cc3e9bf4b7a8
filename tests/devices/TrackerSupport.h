#pragma once

#include <chrono>
#include <cmath>
#include <csignal>
#include <fstream>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <apps/Process.h>
#include <devices/Support.h>

#include <vantiflux/state/StateKeeperXML.h>

#include "simulate/Motion.h"

namespace test {

using Vantiflux::Matrix4;
using Vantiflux::Rotation;
using Vec3 = Vantiflux::Vec3<float>;

/// A simulated device, as a process of its own.
class Device : public Process {
public:
  explicit Device(std::vector<std::string> words) : Process(complete(std::move(words))) {
    place_ = readLine();
    if (!place_.empty())
      place_.pop_back();
  }
  /// Where it is to be found: what it printed first.
  const std::string& place() const { return place_; }
  std::string port() const { return place_.substr(place_.rfind(':') + 1); }
  int end() {
    signal(SIGTERM);
    return wait();
  }

private:
  static std::vector<std::string> complete(std::vector<std::string> words) {
    words.insert(words.begin(), {HOST_PROGRAM, "simulate"});
    return mortal(std::move(words));
  }
  std::string place_;
};

/// Keeps all values of a slot of a namespace, while it exists.
template <class T>
class Collector : public Vantiflux::BasicInSlot::Listener {
public:
  Collector(Vantiflux::Namespace& ns, const std::string& from) : ns_(ns), from_(from), label_("all of " + from) {
    slot_.addListener(*this);
    ns_.addInSlot(label_, &slot_);
    ns_.addRoute(from_, label_);
  }
  ~Collector() override {
    ns_.removeRoute(from_, label_);
    ns_.removeInSlot(label_, &slot_);
    slot_.removeListener(*this);
  }
  void newData(Vantiflux::BasicInSlot&) override {
    const std::lock_guard guard(lock_);
    if (!slot_.empty())
      values_.push_back(slot_.pop().getValue());
  }
  std::vector<T> values() const {
    const std::lock_guard guard(lock_);
    return values_;
  }
  /// The values, as soon as there are that many more than now.
  std::vector<T> more(std::size_t count) const { return atLeast(values().size() + count); }
  std::vector<T> atLeast(std::size_t size) const {
    EXPECT_TRUE(eventually([&] { return values().size() >= size; })) << from_;
    return values();
  }

private:
  Vantiflux::Namespace& ns_;
  const std::string from_;
  const std::string label_;
  Vantiflux::InSlot<T> slot_;
  mutable std::mutex lock_;
  std::vector<T> values_;
};

inline double distance(const Simulate::Pose& pose, const Vec3& p) {
  return std::hypot(pose.position[0] - p.x, pose.position[1] - p.y, pose.position[2] - p.z);
}
/// The greatest difference of the two rotations' components; q and -q are one rotation.
inline double distance(const Simulate::Pose& pose, const Rotation& r) {
  const auto& q = pose.rotation;
  const double sign = q[0] * r.x + q[1] * r.y + q[2] * r.z + q[3] * r.w < 0 ? -1 : 1;
  return std::max(std::max(std::abs(q[0] * sign - r.x), std::abs(q[1] * sign - r.y)),
                  std::max(std::abs(q[2] * sign - r.z), std::abs(q[3] * sign - r.w)));
}
inline double distance(const Simulate::Pose& pose, const Matrix4<float>& m) {
  const auto r = Simulate::matrixOf(pose.rotation);
  double most = distance(pose, Vec3(m[3], m[7], m[11]));
  for (std::size_t i = 0; i < 9; ++i)
    most = std::max(most, std::abs(r[i] - m[i / 3 * 4 + i % 3]));
  return most;
}

/// Whether the values are those of a simulated body's frames, in order, at 60 frames in a second.
template <class T>
testing::AssertionResult areOnPath(const std::vector<T>& values, unsigned body, double tolerance = 2e-4) {
  std::size_t frame = 0;
  for (std::size_t i = 0; i < values.size(); ++i)
    for (std::size_t begin = frame;
         distance(Simulate::poseAt(body, static_cast<double>(frame) / 60), values[i]) > tolerance;)
      if (++frame > begin + 3600)
        return testing::AssertionFailure() << "value " << i << ", " << values[i] << ", comes after none of the frames";
  return testing::AssertionSuccess();
}

/// How long something takes, in seconds.
template <class Action>
double secondsOf(Action&& action) {
  const auto begin = std::chrono::steady_clock::now();
  action();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// Stopping is a matter of a fifth of a second; a busy machine gets more.
inline constexpr double soon = 3;

/// Whether a stop is done in a fifth of a second once, in some rounds of `begin` and `stop`: what a busy machine adds
/// to some of them does not count.
template <class Begin, class Stop>
bool stopsAtOnce(Begin&& begin, Stop&& stop) {
  for (int round = 0; round < 50; ++round) {
    begin();
    if (secondsOf(stop) < 0.2)
      return true;
  }
  return false;
}

/// A tree of the examples, loaded, with one field changed so that its node finds the simulated device.
struct ExampleTree {
  ExampleTree(const char* file, const std::string& label, const char* field, const std::string& value) {
    std::ifstream stream(std::string(TREES "/") + file);
    Vantiflux::StateKeeperXML::load(ns, stream);
    ns.getNamespace(label)->setFieldValue(field, value);
    ns.enable();
  }
  ~ExampleTree() { ns.clear(); }

  Vantiflux::Namespace ns;
};

inline std::vector<std::string> slotsOf(const Vantiflux::Namespace& ns) {
  std::vector<Vantiflux::LabeledOutSlot> slots;
  ns.getOutSlots("n/*", slots);
  std::vector<std::string> labels;
  for (const auto& slot : slots)
    labels.push_back(slot.label);
  return labels;
}

} // namespace test
