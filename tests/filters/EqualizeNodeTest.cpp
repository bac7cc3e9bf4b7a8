#include <vantiflux/filters/EqualizeNode.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <filters/Support.h>
#include <gtest/gtest.h>

namespace {

using namespace test;
using Vantiflux::EqualizeNode;
using Vantiflux::Exception;
using Vantiflux::Node;

/// What the tracker of examples/calibration/synthetic.py reports of a sensor.
Matrix report(const Vector& p, Matrix turn) {
  turn.multLeft(makePose({}, {0.6F, 0, 0.8F}, 0.2F * p.x + 0.1F * p.y));
  turn[3] = p.x + 0.05F * p.y * p.z + 0.03F * p.x * p.x;
  turn[7] = p.y - 0.04F * p.x * p.z;
  turn[11] = p.z + 0.025F * (p.x * p.x + p.y * p.y);
  return turn;
}

float distance(const Vector& a, const Vector& b) {
  return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

float largestDifference(const Matrix& a, const Matrix& b) {
  float largest = 0;
  for (const std::size_t i : {0U, 1U, 2U, 4U, 5U, 6U, 8U, 9U, 10U})
    largest = std::max(largest, std::fabs(a[i] - b[i]));
  return largest;
}

/// How far positions, in metres, and elements of rotations are off at the most, before and behind the node.
struct Errors {
  float positionBefore = 0, turnBefore = 0, position = 0, turn = 0;
};

void measure(Rig<EqualizeNode>& rig, const Vector& p, Errors& errors) {
  const Matrix turn = makePose({}, {p.y, 1, p.x}, 0.5F + p.z);
  const Matrix reported = report(p, turn);
  const Filtered f = rig.send(reported);
  EXPECT_EQ(f.position, Vector(f.out[3], f.out[7], f.out[11]));
  EXPECT_LT(largestDifference(f.out, makePose({}, {f.orientation.x, f.orientation.y, f.orientation.z},
                                              2 * std::acos(f.orientation.w))),
            0.01F);
  errors.positionBefore = std::max(errors.positionBefore, distance({reported[3], reported[7], reported[11]}, p));
  errors.turnBefore = std::max(errors.turnBefore, largestDifference(reported, turn));
  errors.position = std::max(errors.position, distance(f.position, p));
  errors.turn = std::max(errors.turn, largestDifference(f.out, turn));
}

TEST(EqualizeNode, UndoesAKnownDistortion) {
  Rig<EqualizeNode> rig(6);
  rig.node().setFieldValue("RSquare", "2");
  rig.node().setFieldValue("ReferenceData", "file:" CALIBRATION);
  rig.restart(); // settings count from the next start on
  EXPECT_EQ(rig.node().getState(), Node::Running);
  EXPECT_EQ(rig.node().getShortInfo(), "Equalizing with 216 reference points");

  Errors atPoints;
  for (int i = 0; i < 216; ++i)
    measure(rig, rig.node().getRealityPos(i), atPoints);
  EXPECT_LT(atPoints.position, 0.0002F);
  EXPECT_LT(atPoints.turn, 0.001F);

  Errors between;
  for (float x = -0.8F; x < 0.9F; x += 0.4F)
    for (float y = -0.9F; y < 1; y += 0.3F)
      for (float z = -0.8F; z < 0.9F; z += 0.2F)
        measure(rig, {x, y, z}, between);
  EXPECT_GT(between.positionBefore, 0.05F);
  EXPECT_GT(between.turnBefore, 0.2F);
  EXPECT_LT(between.position, 0.002F);
  EXPECT_LT(between.turn, 0.001F);
}

/// A table with something to fit: points at random, turned at random.
struct Table {
  explicit Table(std::size_t size) {
    Noise noise;
    for (std::size_t i = 0; i < size; ++i) {
      reality.emplace_back(noise(1), noise(1), noise(1));
      measured.emplace_back(reality[i].x + noise(0.05F), reality[i].y + noise(0.05F), reality[i].z + noise(0.05F));
      ori.push_back(makePose({}, {1, noise(1), noise(1)}, noise(0.3F)));
    }
  }
  std::vector<Vector> reality, measured;
  std::vector<Matrix> ori;
};

// However the sums are taken: each is that of a plain loop, to the last bit. 64 points fill blocks, 131 do not.
TEST(EqualizeNode, SumsInTheOrderOfThePoints) {
  for (const std::size_t size : {64U, 131U}) {
    const Table table(size);
    EqualizeNode node;
    node.setReferenceData(table.reality, table.measured, table.ori);
    node.initCoefficients();
    for (const Vector& p : {Vector(0.1F, -0.2F, 0.3F), table.measured[5], Vector(30, 40, -50)}) {
      Vector sum, x, y;
      for (int i = 0; i < static_cast<int>(size); ++i) {
        const Vector m = node.getMeasurePos(i);
        const float dx = p.x - m.x, dy = p.y - m.y, dz = p.z - m.z;
        const float d = std::sqrt(dx * dx + dy * dy + dz * dz + 0.001F);
        const Vector c = node.getCoeffPos(i);
        const Matrix o = node.getCoeffOri(i);
        sum = {sum.x + c.x * d, sum.y + c.y * d, sum.z + c.z * d};
        x = {x.x + o[0] * d, x.y + o[4] * d, x.z + o[8] * d};
        y = {y.x + o[1] * d, y.y + o[5] * d, y.z + o[9] * d};
      }
      Vector equalized = p;
      node.equalize(equalized);
      EXPECT_EQ(equalized, sum);
      // The columns of the unit matrix come out as those of the correction, whose first rows are the sums.
      Vector a(1, 0, 0), b(0, 1, 0), outA, outB, same = p;
      node.equalize(same, a, b, outA, outB);
      EXPECT_EQ(same, p);
      const float xLength = std::sqrt(x.x * x.x + x.y * x.y + x.z * x.z);
      const float yLength = std::sqrt(y.x * y.x + y.y * y.y + y.z * y.z);
      EXPECT_EQ(Vector(outA.x, outB.x, 0), Vector(x.x / xLength, x.y / xLength, 0));
      EXPECT_EQ(Vector(outA.y, outB.y, 0), Vector(y.x / yLength, y.y / yLength, 0));
    }
    EXPECT_EQ(node.getCoeffPos(static_cast<int>(size)), Vector(-1, -1, -1));
    EXPECT_EQ(node.getMeasurePos(-1), Vector(-1, -1, -1));
  }
}

// The first column is made anew of the other two, and nothing is normalised.
TEST(EqualizeNode, RebuildsTheColumnsOfAPose) {
  const Table table(64);
  EqualizeNode node;
  node.setReferenceData(table.reality, table.measured, table.ori);
  node.initCoefficients();
  Matrix m({2, 0.5F, 9, 0.1F, 0, 1, 9, 0.2F, 0.25F, 0, 9, 0.3F, 7, 7, 7, 7});
  Vector p(0.1F, 0.2F, 0.3F), a(2, 0, 0.25F), b(0.5F, 1, 0), u, v;
  node.equalize(p, a, b, u, v);
  node.equalize(p);
  node.equalize(m);
  const Vector w(u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x);
  const Vector first(v.y * w.z - v.z * w.y, v.z * w.x - v.x * w.z, v.x * w.y - v.y * w.x);
  EXPECT_EQ(m, Matrix({first.x, v.x, w.x, p.x, first.y, v.y, w.y, p.y, first.z, v.z, w.z, p.z, 0, 0, 0, 1}));
}

TEST(EqualizeNode, ATableWithoutASolutionIsAnError) {
  Rig<EqualizeNode> rig;
  EqualizeNode& node = rig.node();
  const Table good(70);
  Table twice = good;
  twice.measured[10] = twice.measured[60];
  Table far = good;
  far.measured[10].x = 3e38F;
  node.setReferenceData(good.reality, good.measured, good.ori);
  rig.restart();
  const Vector fitted = rig.send(Matrix()).position;
  for (const Table* const bad : {&twice, &far}) {
    node.setRSquare(0);
    node.setReferenceData(bad->reality, bad->measured, bad->ori);
    EXPECT_THROW(node.initCoefficients(), Exception);
    rig.restart();
    EXPECT_EQ(node.getState(), Node::Error);
    EXPECT_TRUE(node.getShortInfo().starts_with("The reference data cannot be used: ")) << node.getShortInfo();
    EXPECT_EQ(rig.send(Matrix()).position, fitted); // by the fit before
  }
  node.setReferenceData(good.reality, good.measured, good.ori);
  rig.restart();
  EXPECT_EQ(node.getState(), Node::Running);
}

} // namespace
