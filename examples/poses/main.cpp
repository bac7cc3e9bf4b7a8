// A program with a tracker of its own: it writes poses to a slot, and reads them back as the filters of a tree leave
// them. Here the hand stands still, and the tracker does not. Trees: steady_pose.vfx, equalized_pose.vfx.
#include <algorithm>
#include <cmath>
#include <exception>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>
#include <string>

#include <vantiflux/core/Root.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/values/SlotTypes.h>

using namespace Vantiflux;

namespace {

using Pose = Matrix4<float>;

/// The standard deviation of the distance from the mean.
class Spread {
public:
  void add(const Pose& pose) {
    ++count_;
    for (std::size_t i = 0; i < 3; ++i) {
      const double value = static_cast<double>(pose[3 + 4 * i]);
      sum_[i] += value;
      squares_ += value * value;
    }
  }
  double get() const {
    double rest = squares_ / count_;
    for (const double sum : sum_)
      rest -= sum / count_ * (sum / count_);
    return std::sqrt(std::max(rest, 0.0));
  }

private:
  double count_ = 0;
  double sum_[3] = {};
  double squares_ = 0;
};

void run(const char* file) {
  OutSlot<Pose> tracker("What the tracker reports");
  InSlot<Pose> steady("What the filters make of it");
  Root& root = Root::the();
  {
    const Root::WriteLock lock;
    std::ifstream stream(file);
    if (!stream)
      throw std::runtime_error(std::string("cannot read ") + file);
    StateKeeperXML::load(root, stream);
    root.addOutSlot("Pose", &tracker);
    root.addInSlot("Steady pose", &steady);
  }
  std::mt19937 random;
  std::normal_distribution<float> noise(0, 0.002F);
  Spread before;
  Spread after;
  Pose last;
  int still = 0;
  for (int i = 0; i < 500; ++i) {
    const Pose pose({1, 0, 0, 0.3F + noise(random), 0, 1, 0, 0.2F + noise(random), 0, 0, 1, 0.1F + noise(random)});
    tracker.push(pose); // the filters run in this call
    if (steady.empty())
      throw std::runtime_error("the tree makes no steady pose");
    const Pose filtered = steady.pop().getValue();
    if (i < 100) // until the filters' buffers are full
      continue;
    before.add(pose);
    after.add(filtered);
    still += filtered == last ? 1 : 0;
    last = filtered;
  }
  std::cout << "The hand rests. Its position spreads by " << 1000 * before.get() << " mm before the filters and by "
            << 1000 * after.get() << " mm behind them; " << still << " of 400 poses are as the one before."
            << std::endl;
  const Root::WriteLock lock;
  root.removeOutSlot("Pose", &tracker);
  root.removeInSlot("Steady pose", &steady);
  root.clear();
  if (!(after.get() < before.get()))
    throw std::runtime_error("the filters do not steady the hand");
}

} // namespace

int main(int argc, char** argv) {
  try {
    run(argc > 1 ? argv[1] : "examples/trees/steady_pose.vfx");
    return 0;
  } catch (const std::exception& e) {
    std::cerr << "poses: " << e.what() << std::endl;
    return 1;
  }
}
