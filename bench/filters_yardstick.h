#pragma once

#include <cstddef>
#include <vector>

#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Vec3.h>

namespace yardstick {

using Vector = Vantiflux::Vec3<float>;
using Matrix = Vantiflux::Matrix4<float>;

/// Reference points and coefficients as one would write them down.
struct Points {
  float rSquare = 0;
  std::vector<Vector> measurePos;
  std::vector<Vector> coeffPos;
  std::vector<Matrix> coeffOri;
};

/// A pose, equalised by a plain loop over the points. Compiled with the best flags for this machine that leave every
/// result as it is, and once more with those that do not.
namespace exact {
void equalize(const Points& points, Matrix& m);
}
namespace fast {
void equalize(const Points& points, Matrix& m);
}

} // namespace yardstick
