#pragma once

#include <cstddef>
#include <vector>

#include <vantiflux/filters/ReferenceTable.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Vec3.h>

namespace Vantiflux {

/// Nine interpolants over the measured positions of a table: the three coordinates of the true position, and the first
/// two columns of the orientation. Each is a sum over the reference points of a coefficient times
/// d = sqrt(distance^2 + rSquare), in single precision, in the order of the points, every operation rounded. It takes
/// the value of the table at each reference point.
///
/// *Threads.* Immutable. *Failure.* The constructor throws Exception if the table determines no coefficients, as when
/// a measured position stands in it twice.
class RadialBasis {
public:
  /// Without points: all sums are zero.
  RadialBasis() = default;
  /// Solves for the coefficients: about 2 ms for 216 points, half a second for 1000.
  RadialBasis(const ReferenceTable& table, float rSquare);

  struct Sums {
    Vec3<float> position;
    Vec3<float> x;
    Vec3<float> y;
  };
  Sums at(const Vec3<float>& p) const;

  std::size_t size() const { return size_; }
  Vec3<float> coeffPos(std::size_t i) const;
  /// The coefficients in the places of the two columns; the rest is that of the identity.
  Matrix4<float> coeffOri(std::size_t i) const;

private:
  /// Nine coefficients of a point stand side by side, in a row that fills whole vectors, and so the nine sums grow side
  /// by side, each in its own order.
  static constexpr std::size_t sumCount = 9;
  static constexpr std::size_t lanes = 4;
  static constexpr std::size_t rowLength = 12;
  /// Distances are taken for so many points at a time.
  static constexpr std::size_t block = 64;

  std::size_t size_ = 0;
  float rSquare_ = 0;
  std::vector<float> x_, y_, z_; ///< of the measured positions; filled up to whole blocks
  std::vector<float> rows_;
};

} // namespace Vantiflux
