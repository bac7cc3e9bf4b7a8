#include <vantiflux/values/Matrix4.h>

#include <cmath>
#include <functional>
#include <random>
#include <sstream>
#include <type_traits>

#include <gtest/gtest.h>

#include <vantiflux/values/Matrix3.h>

namespace {

using Vantiflux::Matrix3;
using Vantiflux::Matrix4;
using M4 = Matrix4<float>;

static_assert(std::is_trivially_copyable_v<M4> && sizeof(M4) == 16 * sizeof(float));
static_assert(std::is_trivially_copyable_v<Matrix3<double>> && sizeof(Matrix3<double>) == 9 * sizeof(double));

M4 randomMatrix(std::mt19937& random) {
  std::uniform_real_distribution<float> values(-2, 2);
  M4 m;
  for (std::size_t i = 0; i < 16; ++i)
    m[i] = values(random);
  return m;
}

// The determinant by its definition over all permutations, in double.
double leibnizDeterminant(const M4& m) {
  std::array<std::size_t, 4> p = {0, 1, 2, 3};
  double sum = 0;
  do {
    int inversions = 0;
    for (std::size_t i = 0; i < 4; ++i)
      for (std::size_t j = i + 1; j < 4; ++j)
        inversions += p[i] > p[j] ? 1 : 0;
    double term = inversions % 2 == 0 ? 1 : -1;
    for (std::size_t row = 0; row < 4; ++row)
      term *= static_cast<double>(m(row, p[row]));
    sum += term;
  } while (std::next_permutation(p.begin(), p.end()));
  return sum;
}

void expectNear(const M4& a, const M4& b, float tolerance) {
  for (std::size_t i = 0; i < 16; ++i)
    EXPECT_NEAR(a[i], b[i], tolerance) << "element " << i;
}

TEST(Matrix4, ElementsLieRowByRowAndANewMatrixIsTheIdentity) {
  M4 m;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      EXPECT_EQ(m(row, column), row == column ? 1.0F : 0.0F);
  m(1, 3) = 7;
  EXPECT_EQ(m[7], 7.0F);
  EXPECT_EQ(m.data()[7], 7.0F);
  Matrix3<double> n;
  n(2, 0) = 5;
  EXPECT_EQ(n[6], 5.0);
  EXPECT_FALSE(n == Matrix3<double>());
}

TEST(Matrix4, ProductsAreOnTheSideTheyNameAndMayNameThemselves) {
  const M4 turn({0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // 90 degrees about z
  const M4 move({1, 0, 0, 10, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}); // along x

  M4 moveFirst = turn;
  moveFirst.mult(move);
  EXPECT_EQ(moveFirst[3], 0.0F);
  EXPECT_EQ(moveFirst[7], 10.0F);

  M4 turnFirst = turn;
  turnFirst.multLeft(move);
  EXPECT_EQ(turnFirst[3], 10.0F);
  EXPECT_EQ(turnFirst[7], 0.0F);

  M4 half = turn;
  half.mult(half);
  EXPECT_EQ(half[0], -1.0F);
  EXPECT_EQ(half[5], -1.0F);
  M4 halfLeft = turn;
  halfLeft.multLeft(halfLeft);
  EXPECT_EQ(halfLeft, half);
}

TEST(Matrix4, DeterminantAndInverseAgreeWithTheirDefinitions) {
  std::mt19937 random(4711);
  for (int round = 0; round < 200; ++round) {
    const M4 m = randomMatrix(random);
    const double expected = leibnizDeterminant(m);
    EXPECT_NEAR(m.det(), expected, 1e-5 * (1 + std::fabs(expected)));
    if (std::fabs(expected) < 0.05)
      continue;
    M4 inverse;
    ASSERT_TRUE(m.getInverse(inverse));
    M4 product = m;
    product.mult(inverse);
    expectNear(product, M4(), 2e-4F);
    M4 inPlace = m;
    ASSERT_TRUE(inPlace.getInverse(inPlace));
    EXPECT_EQ(inPlace, inverse);
  }
}

TEST(Matrix4, InverseStopsAtATinyDeterminant) {
  const auto scaled = [](float last) { return M4({1e-10F, 0, 0, 0, 0, 1e-10F, 0, 0, 0, 0, 1e-10F, 0, 0, 0, 0, last}); };
  M4 result({9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9});
  EXPECT_FALSE(scaled(0.1F).getInverse(result)); // 1e-31
  EXPECT_EQ(result, M4());
  EXPECT_TRUE(scaled(10).getInverse(result)); // 1e-29
  EXPECT_NEAR(result[0], 1e10F, 1e4F);
  EXPECT_FALSE(M4(std::array<float, 16>{}).getInverse(result));
  EXPECT_TRUE(M4({-1e-8F, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}).getInverse(result)); // the sign is no matter
}

TEST(Matrix4, TextIsSixteenNumbersRowByRow) {
  M4 m({1, 0.5F, 0, -3, 0, 1, 0, 0, 0, 0, 1, 1.0F / 3, 0, 0, 0, 1});
  std::ostringstream out;
  out << m;
  EXPECT_EQ(out.str(), "1 0.5 0 -3 0 1 0 0 0 0 1 0.333333 0 0 0 1");

  std::istringstream in("\n 1 2 3 4\t5 6 7 8\r\n9 10 11 12  13 14 15 16 rest");
  ASSERT_TRUE(in >> m);
  EXPECT_EQ(m(3, 0), 13.0F);
  std::string rest;
  in >> rest;
  EXPECT_EQ(rest, "rest");

  for (const char* bad : {"", "1 2 3", "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 x", "1, 2"}) {
    std::istringstream badIn(bad);
    const M4 before = m;
    EXPECT_FALSE(badIn >> m) << bad;
    EXPECT_EQ(m, before) << bad;
  }
}

struct Transform {
  float tx, ty, tz, qx, qy, qz, qw;
};

Transform split(const M4& m) {
  Transform t{};
  m.getTransform(t.tx, t.ty, t.tz, t.qx, t.qy, t.qz, t.qw);
  return t;
}

// The matrix of a unit quaternion, in the common textbook form.
M4 matrixOf(double x, double y, double z, double w) {
  const auto f = [](double v) { return static_cast<float>(v); };
  return M4({f(1 - 2 * (y * y + z * z)), f(2 * (x * y - z * w)), f(2 * (x * z + y * w)), 0, //
             f(2 * (x * y + z * w)), f(1 - 2 * (x * x + z * z)), f(2 * (y * z - x * w)), 0, //
             f(2 * (x * z - y * w)), f(2 * (y * z + x * w)), f(1 - 2 * (x * x + y * y)), 0, //
             0, 0, 0, 1});
}

void expectTransform(const Transform& t, double x, double y, double z, double w) {
  EXPECT_NEAR(t.qx, x, 1e-5);
  EXPECT_NEAR(t.qy, y, 1e-5);
  EXPECT_NEAR(t.qz, z, 1e-5);
  EXPECT_NEAR(t.qw, w, 1e-5);
}

TEST(Matrix4, TransformOfASmallTurnIsItsQuaternion) {
  std::mt19937 random(12);
  std::uniform_real_distribution<double> values(-1, 1);
  for (int round = 0; round < 200; ++round) {
    double q[4] = {values(random), values(random), values(random), 1.2}; // w large enough for a positive trace
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& part : q)
      part /= length;
    if (q[3] < 0.52)
      continue;
    M4 m = matrixOf(q[0], q[1], q[2], q[3]);
    m[3] = 1;
    m[7] = -2;
    m[11] = 3;
    const Transform t = split(m);
    EXPECT_EQ(t.tx, 1.0F);
    EXPECT_EQ(t.ty, -2.0F);
    EXPECT_EQ(t.tz, 3.0F);
    expectTransform(t, q[0], q[1], q[2], q[3]);
  }
}

// Turns by 150 degrees about axes near x, y and z: one branch each, with the oddities that set-ups depend on.
TEST(Matrix4, TransformOfALargeTurnKeepsItsOddities) {
  const double s = std::sin(75 * M_PI / 180), w = std::cos(75 * M_PI / 180);
  const double main = std::sqrt(0.82), a = 0.3, b = 0.3;

  const M4 aboutX = matrixOf(main * s, a * s, b * s, w);
  expectTransform(split(aboutX), main * s, a * s, b * s, -w);

  const M4 aboutZ = matrixOf(a * s, b * s, main * s, w);
  expectTransform(split(aboutZ), a * s, b * s, main * s, -w);

  M4 aboutY = matrixOf(a * s, main * s, b * s, w);
  expectTransform(split(aboutY), 2 * a * s, main * s / 2, 2 * b * s, 2 * w);

  // Scaled, the same turn goes through the repair and comes out whole.
  for (const std::size_t i : {0U, 1U, 2U, 4U, 5U, 6U, 8U, 9U, 10U})
    aboutY[i] *= 3;
  expectTransform(split(aboutY), a * s, main * s, b * s, w);
}

TEST(Matrix4, TransformTestsRowsAndRepairsColumns) {
  // The columns have different lengths and the rows too, so that dividing the rows would give another rotation.
  M4 m = matrixOf(0, 0, std::sin(0.3), std::cos(0.3));
  for (const std::size_t row : {0U, 1U, 2U}) {
    m(row, 0) *= 2;
    m(row, 1) *= 5;
  }
  expectTransform(split(m), 0, 0, std::sin(0.3), std::cos(0.3));

  // Rows of length 1 that are no rotation are taken as they stand: the columns 0 and 1 are not of length 1 here.
  const M4 sheared({1, 0, 0, 0, 0.6F, 0.8F, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  const double root = std::sqrt(3.8);
  expectTransform(split(sheared), 0, 0, 0.6 * 0.5 / root, root / 2);
}

} // namespace
