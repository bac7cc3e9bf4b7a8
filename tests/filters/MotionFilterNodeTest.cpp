#include <vantiflux/filters/MotionFilterNode.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <filters/Support.h>
#include <gtest/gtest.h>

namespace {

using namespace test;
using Vantiflux::MotionFilterNode;
using Vantiflux::Node;
using Point = MotionFilterNode::Point;

/// The filter once more, without a ring: from all samples so far and the number of the newest, which says what a walk
/// back through a ring of that size would see.
class Reference {
public:
  Reference(std::size_t ring, std::size_t run) : ring_(ring), run_(run) {}

  Point next(const Point& p) {
    samples_.push_back(p);
    if (const bool whole = isRun(run_, &Reference::exact); isRun(run_, &Reference::seen)) {
      window_ = run_ - 1;
      ++passed;
      return p;
    } else if (whole) {
      ++lostAtSeam;
    }
    window_ = std::min(window_ + 1, ring_);
    Point result{};
    for (std::size_t c = 0; c < 4; ++c) {
      float sum = 0;
      for (std::size_t back = 0; back < window_; ++back)
        sum += seen(back)[c];
      result[c] = sum / static_cast<float>(window_);
    }
    return result;
  }

  int passed = 0;
  int lostAtSeam = 0;

private:
  using Look = const Point& (Reference::*)(std::size_t) const;

  /// The sample so many before the newest; the first one stands for all before it.
  const Point& exact(std::size_t back) const {
    return back < samples_.size() ? samples_[samples_.size() - 1 - back] : samples_[0];
  }
  /// The same as far as the walk goes: one step beyond the place 0 it stays.
  const Point& seen(std::size_t back) const { return exact(std::min(back, samples_.size() % ring_ + 1)); }

  bool isRun(std::size_t length, Look look) const {
    for (std::size_t c = 0; c < 4; ++c) {
      bool rises = true, falls = true;
      for (std::size_t back = 0; back + 1 < length; ++back) {
        rises = rises && (this->*look)(back)[c] > (this->*look)(back + 1)[c];
        falls = falls && (this->*look)(back)[c] < (this->*look)(back + 1)[c];
      }
      if (rises || falls)
        return true;
    }
    return false;
  }

  std::size_t ring_, run_, window_ = 2;
  std::vector<Point> samples_;
};

/// A hand that rests and moves in turn; every fortieth report is an outlier.
Matrix handAt(int step, Noise& noise) {
  const float moved = 0.03F * static_cast<float>(step / 30 * 12 + std::min(step % 30, 12));
  const float far = step % 40 == 37 ? 1.0F : 0.0F;
  return makePose({moved + noise(0.002F), 1 - moved + noise(0.002F) + far, noise(0.01F)}, {1, 0.2F, -0.3F},
                  0.3F + 0.1F * moved + noise(0.01F));
}

Rotation unit(const Point& p) {
  const float length = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2] + p[3] * p[3]);
  return {p[0] / length, p[1] / length, p[2] / length, p[3] / length};
}

/// The vector that a quaternion makes of the unit vector of a column.
Vector turned(const Rotation& q, std::size_t column) {
  const Vector e(column == 0 ? 1 : 0, column == 1 ? 1 : 0, column == 2 ? 1 : 0);
  const auto cross = [](const Vector& a, const Vector& b) {
    return Vector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
  };
  const Vector axis(q.x, q.y, q.z);
  const Vector once = cross(axis, e);
  const Vector twice = cross(axis, once);
  return {e.x + 2 * (q.w * once.x + twice.x), e.y + 2 * (q.w * once.y + twice.y), e.z + 2 * (q.w * once.z + twice.z)};
}

void expectMadeOf(const Matrix& m, const Vector& position, const Rotation& rotation) {
  EXPECT_EQ(Vector(m[3], m[7], m[11]), position);
  for (std::size_t column = 0; column < 3; ++column) {
    const Vector v = turned(rotation, column);
    EXPECT_NEAR(m[column], v.x, 1e-5F);
    EXPECT_NEAR(m[4 + column], v.y, 1e-5F);
    EXPECT_NEAR(m[8 + column], v.z, 1e-5F);
  }
}

struct Sizes {
  unsigned int buffer, run;
};

TEST(MotionFilterNode, FiltersAsTheReferenceDoes) {
  for (const auto& [buffer, run] : {Sizes{33, 4}, Sizes{15, 2}, Sizes{16, 7}, Sizes{4, 4}, Sizes{200, 3}}) {
    SCOPED_TRACE(buffer);
    Rig<MotionFilterNode> rig(buffer % 8);
    const unsigned int oriBuffer = std::max(buffer / 2, 4U);
    for (const auto& [field, value] : {std::pair("PosMonotonyLength", 0U),
                                       {"PosBufferSize", buffer},
                                       {"PosMonotonyLength", run},
                                       {"OriMonotonyLength", std::min(run, 3U)},
                                       {"OriBufferSize", oriBuffer}})
      rig.node().setFieldValue(field, std::to_string(value));
    EXPECT_EQ(rig.node().getState(), Node::Running);

    Reference positions(buffer, run);
    Reference orientations(oriBuffer, std::min(run, 3U));
    Noise noise;
    Point position4{}, rotation4{};
    for (int step = 0; step < 600 && !testing::Test::HasFailure(); ++step) {
      if (step == 300) {
        rig.restart(); // keeps the history; the source gives its latest value once more
        positions.next(position4);
        orientations.next(rotation4);
      }
      Matrix m = handAt(step, noise);
      for (const std::size_t i : {0U, 1U, 2U, 4U, 5U, 6U, 8U, 9U, 10U})
        m[i] *= step % 7 == 3 ? 2.5F : 1.0F; // a scale is lost on the way
      Vector position;
      Rotation rotation;
      split(m, position, rotation);
      position4 = {position.x, position.y, position.z, 0};
      rotation4 = {rotation.x, rotation.y, rotation.z, rotation.w};
      const Point p = positions.next(position4);
      const Rotation r = unit(orientations.next(rotation4));
      const Filtered f = rig.send(m);
      EXPECT_EQ(f.position, Vector(p[0], p[1], p[2]));
      EXPECT_EQ(f.orientation, r);
      expectMadeOf(f.out, f.position, f.orientation);
    }
    // The script is such that both happen: motion passes, and some of it is not seen because of the seam.
    EXPECT_GT(positions.passed, 50);
    if (run > 2) {
      EXPECT_GT(positions.lostAtSeam, 1);
    }
  }
}

TEST(MotionFilterNode, TakesOutAnOutlierAndFollowsMotionAtOnce) {
  MotionFilterNode node;
  const auto pass = [&node](float x) {
    Vector v(x, 0, 0);
    node.filter(5, v);
    return v.x;
  };
  for (int i = 0; i < 60; ++i)
    pass(1);
  EXPECT_NEAR(pass(100), 4, 1e-3F); // a thirty-third of it is left
  for (int i = 0; i < 40; ++i)
    pass(1);
  EXPECT_EQ(pass(2), (32 + 2) / 33.0F);
  pass(3);
  EXPECT_EQ(pass(4), 4); // one, and three more that rise
  EXPECT_EQ(pass(5), 5);
  EXPECT_EQ(pass(5), (5 + 5 + 4 + 3) / 4.0F); // the average begins short again
}

TEST(MotionFilterNode, WithoutATestAllIsMotion) {
  MotionFilterNode node;
  node.setPosMonotonyTestLength(0);
  Vector v;
  for (const float x : {1.0F, 5.0F, 5.0F, -3.0F}) {
    v = Vector(x, x, x);
    node.filter(0, v);
    EXPECT_EQ(v, Vector(x, x, x));
  }
  // An average over -1 samples is left, until the next run or a new buffer.
  node.setPosMonotonyTestLength(3);
  v = Vector(7, 7, 7);
  node.filter(0, v);
  EXPECT_EQ(v, Vector(0, 0, 0));
  node.setPosBufferSize(15);
  v = Vector(7, 7, 7);
  node.filter(0, v);
  EXPECT_EQ(v, Vector(7, 7, 7));
}

TEST(MotionFilterNode, RefusesSettingsThatDoNotFit) {
  MotionFilterNode node;
  const auto refused = [&node](const char* field, const char* value, const std::string& why) {
    const std::string before = node.getFieldValue(field);
    node.setState(Node::Running, "");
    node.setFieldValue(field, value);
    EXPECT_EQ(node.getState(), why.empty() ? Node::Running : Node::Error) << field << ' ' << value;
    EXPECT_EQ(node.getShortInfo(), why);
    EXPECT_EQ(node.getFieldValue(field), why.empty() ? value : before);
  };
  for (const std::string part : {"Pos", "Ori"}) {
    const std::string name = part == "Pos" ? "pos" : "ori";
    const std::string sizeField = part + "BufferSize", lengthField = part + "MonotonyLength";
    const char* const size = sizeField.c_str();
    const char* const length = lengthField.c_str();
    refused(size, "3", name + "BufferSize may not be < 4.");
    refused(size, "8193", name + "BufferSize may not be > 8192.");
    refused(size, "-1", name + "BufferSize may not be > 8192.");
    refused(size, "8192", "");
    refused(length, "1", name + "MonotonyTestLength must either be 0 or >= 2.");
    refused(length, "8193", name + "MonotonyTestLength may not be > " + name + "BufferSize_.");
    refused(length, "8192", "");
    refused(size, "8191", name + "BufferSize may not be < " + name + "MonotonyTestLength.");
    refused(length, "5", "");
    refused(size, "4", name + "BufferSize may not be < " + name + "MonotonyTestLength.");
    refused(size, "5", "");
  }
  Matrix m;
  EXPECT_THROW(node.filter(8, m), std::string);
  EXPECT_THROW(node.filter(-1, m), std::string);
}

} // namespace
