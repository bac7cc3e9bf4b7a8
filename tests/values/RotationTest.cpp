#include <vantiflux/values/Rotation.h>

#include <cmath>
#include <sstream>

#include <gtest/gtest.h>

#include <vantiflux/values/ColorRGBA.h>
#include <vantiflux/values/Vec2.h>
#include <vantiflux/values/Vec4.h>

namespace {

using Vantiflux::Rotation;
using Vec3 = Vantiflux::Vec3<float>;

constexpr float pi = static_cast<float>(M_PI);

// Turns a point about a unit axis by Rodrigues' formula, which knows nothing of quaternions.
Vec3 turned(const Vec3& p, const Vec3& k, float angle) {
  const float c = std::cos(angle), s = std::sin(angle), along = (k.x * p.x + k.y * p.y + k.z * p.z) * (1 - c);
  return {p.x * c + (k.y * p.z - k.z * p.y) * s + k.x * along, p.y * c + (k.z * p.x - k.x * p.z) * s + k.y * along,
          p.z * c + (k.x * p.y - k.y * p.x) * s + k.z * along};
}

Vec3 turned(const Vec3& p, const Rotation& r) {
  Vec3 axis;
  const float angle = r.get(axis);
  const float length = std::sqrt(axis.x * axis.x + axis.y * axis.y + axis.z * axis.z);
  return turned(p, {axis.x / length, axis.y / length, axis.z / length}, angle);
}

void expectNear(const Vec3& a, const Vec3& b) {
  EXPECT_NEAR(a.x, b.x, 1e-5F);
  EXPECT_NEAR(a.y, b.y, 1e-5F);
  EXPECT_NEAR(a.z, b.z, 1e-5F);
}

TEST(Rotation, AxisAndAngle) {
  EXPECT_EQ(Rotation(), Rotation(0, 0, 0, 0));
  const Rotation r(Vec3(1, 0, 0), pi / 2);
  Vec3 axis;
  EXPECT_NEAR(r.get(axis), pi / 2, 1e-6F);
  EXPECT_NEAR(axis.x, std::sin(pi / 4), 1e-6F);
  EXPECT_EQ(axis.y, 0.0F);
  EXPECT_EQ(axis.z, 0.0F);

  const Rotation longAxis(Vec3(0, 30, 40), 1.0F), unitAxis(Vec3(0, 0.6F, 0.8F), 1.0F);
  EXPECT_NEAR(longAxis.y, unitAxis.y, 1e-6F);
  EXPECT_NEAR(longAxis.z, unitAxis.z, 1e-6F);
  EXPECT_EQ(longAxis.w, unitAxis.w);

  EXPECT_TRUE(std::isnan(Rotation(Vec3(), 1).x));
}

TEST(Rotation, ProductTurnsByTheHeldRotationFirst) {
  const Vec3 k1(0, 0.6F, 0.8F), k2(1, 0, 0), point(1, 2, 3);
  Rotation r(k1, 0.7F);
  r *= Rotation(k2, 1.1F);
  expectNear(turned(point, r), turned(turned(point, k1, 0.7F), k2, 1.1F));

  Rotation twice(k1, 0.4F);
  twice *= twice;
  expectNear(turned(point, twice), turned(point, k1, 0.8F));
}

TEST(Rotation, ProductHasLengthOne) {
  Rotation r(3, 0, 0, 4);
  r *= Rotation(0, 0, 0, 10);
  EXPECT_NEAR(r.x, 0.6F, 1e-6F);
  EXPECT_NEAR(r.w, 0.8F, 1e-6F);
}

TEST(Values, PrintTheirComponentsSeparatedByBlanks) {
  std::ostringstream out;
  out << Vantiflux::Vec2<double>(1, 2.5) << '|' << Vec3(1, 2, 3) << '|' << Vantiflux::Vec4<float>(1, 2, 3, 4) << '|'
      << Rotation(0, 0, 0, 1) << '|' << Vantiflux::ColorRGBA(0.5F, 0, 1);
  EXPECT_EQ(out.str(), "1 2.5|1 2 3|1 2 3 4|0 0 0 1|0.5 0 1 1");
}

} // namespace
