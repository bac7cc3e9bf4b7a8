#include <vantiflux/values/Matrix4.h>

#include <cmath>
#include <istream>
#include <ostream>

namespace Vantiflux {

namespace {

Matrix4<float> product(const Matrix4<float>& a, const Matrix4<float>& b) {
  Matrix4<float> result;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = 0; column < 4; ++column)
      result(row, column) =
          a(row, 0) * b(0, column) + a(row, 1) * b(1, column) + a(row, 2) * b(2, column) + a(row, 3) * b(3, column);
  return result;
}

// Cofactor expansion by pairs of rows: every 3 by 3 cofactor is made of the 2 by 2 minors of the upper two and of the
// lower two rows. Double inside, because translations in millimetres would otherwise eat the digits of the rotation.
class Cofactors {
public:
  explicit Cofactors(const Matrix4<float>& m) {
    for (std::size_t i = 0; i < Matrix4<float>::elementCount; ++i)
      m_[i] = static_cast<double>(m[i]);
    std::size_t minor = 0;
    for (std::size_t i = 0; i < 3; ++i) {
      for (std::size_t j = i + 1; j < 4; ++j, ++minor) {
        upper_[minor] = m_[i] * m_[4 + j] - m_[j] * m_[4 + i];
        lower_[minor] = m_[8 + i] * m_[12 + j] - m_[8 + j] * m_[12 + i];
      }
    }
  }

  double determinant() const {
    return upper_[0] * lower_[5] - upper_[1] * lower_[4] + upper_[2] * lower_[3] + upper_[3] * lower_[2] -
           upper_[4] * lower_[1] + upper_[5] * lower_[0];
  }

  Matrix4<float> adjugateTimes(double factor) const {
    Matrix4<float> result;
    // Columns 0 and 1 of the adjugate expand along the upper rows and need the minors of the lower ones, columns 2 and
    // 3 the other way round.
    fillColumn(result, 0, 4, lower_, factor);
    fillColumn(result, 1, 0, lower_, -factor);
    fillColumn(result, 2, 12, upper_, factor);
    fillColumn(result, 3, 8, upper_, -factor);
    return result;
  }

private:
  // Minors in the order of the column pairs 01, 02, 03, 12, 13, 23.
  using Minors = std::array<double, 6>;

  void fillColumn(Matrix4<float>& result, std::size_t column, std::size_t row, const Minors& n, double factor) const {
    const double a = m_[row], b = m_[row + 1], c = m_[row + 2], d = m_[row + 3];
    result(0, column) = static_cast<float>((b * n[5] - c * n[4] + d * n[3]) * factor);
    result(1, column) = static_cast<float>((-a * n[5] + c * n[2] - d * n[1]) * factor);
    result(2, column) = static_cast<float>((a * n[4] - b * n[2] + d * n[0]) * factor);
    result(3, column) = static_cast<float>((-a * n[3] + b * n[1] - c * n[0]) * factor);
  }

  std::array<double, 16> m_{};
  Minors upper_{};
  Minors lower_{};
};

constexpr float unitTolerance = 1e-6F;

bool rowsHaveUnitLength(const Matrix4<float>& m) {
  for (std::size_t row = 0; row < 3; ++row) {
    const float squared = m(row, 0) * m(row, 0) + m(row, 1) * m(row, 1) + m(row, 2) * m(row, 2);
    if (!(std::fabs(squared - 1) <= unitTolerance))
      return false;
  }
  return true;
}

void normaliseColumns(Matrix4<float>& m) {
  for (std::size_t column = 0; column < 3; ++column) {
    const float length =
        std::sqrt(m(0, column) * m(0, column) + m(1, column) * m(1, column) + m(2, column) * m(2, column));
    for (std::size_t row = 0; row < 3; ++row)
      m(row, column) /= length;
  }
}

} // namespace

template <class T>
void Matrix4<T>::mult(const Matrix4& m)
  requires std::same_as<T, float>
{
  *this = product(*this, m);
}

template <class T>
void Matrix4<T>::multLeft(const Matrix4& m)
  requires std::same_as<T, float>
{
  *this = product(m, *this);
}

template <class T>
float Matrix4<T>::det() const
  requires std::same_as<T, float>
{
  return static_cast<float>(Cofactors(*this).determinant());
}

template <class T>
bool Matrix4<T>::getInverse(Matrix4& result) const
  requires std::same_as<T, float>
{
  const Cofactors cofactors(*this);
  const double determinant = cofactors.determinant();
  // The test is on the value that det() gives.
  if (std::fabs(static_cast<double>(static_cast<float>(determinant))) < 1e-30) {
    result = Matrix4();
    return false;
  }
  result = cofactors.adjugateTimes(1 / determinant);
  return true;
}

// Kept on purpose, because saved calibrations and filter set-ups are tuned to it:
// - the test for a plain rotation looks at the rows, the repair at the columns;
// - qw has the opposite sign where x or z is the largest part of the axis of a turn near 180 degrees;
// - where y is, and the matrix needed no repair, x, z and w come out twice as large and y half as large.
template <class T>
void Matrix4<T>::getTransform(float& tx, float& ty, float& tz, float& qx, float& qy, float& qz, float& qw) const
  requires std::same_as<T, float>
{
  Matrix4<float> m = *this;
  tx = m[3];
  ty = m[7];
  tz = m[11];
  const bool repaired = !rowsHaveUnitLength(m);
  if (repaired)
    normaliseColumns(m);

  const float a = m[0], b = m[5], c = m[10];
  if (const float trace = a + b + c; trace > unitTolerance) {
    const float k = 0.5F / std::sqrt(1 + trace);
    qw = 0.25F / k;
    qx = (m[9] - m[6]) * k;
    qy = (m[2] - m[8]) * k;
    qz = (m[4] - m[1]) * k;
  } else if (a > b && a > c) {
    const float k = 0.5F / std::sqrt(1 + a - b - c);
    qx = 0.25F / k;
    qy = (m[1] + m[4]) * k;
    qz = (m[2] + m[8]) * k;
    qw = (m[6] - m[9]) * k;
  } else if (b > c) {
    const float k = (repaired ? 0.5F : 1.0F) / std::sqrt(1 + b - a - c);
    qx = (m[1] + m[4]) * k;
    qy = 0.25F / k;
    qz = (m[6] + m[9]) * k;
    qw = (m[2] - m[8]) * k;
  } else {
    const float k = 0.5F / std::sqrt(1 + c - a - b);
    qx = (m[2] + m[8]) * k;
    qy = (m[6] + m[9]) * k;
    qz = 0.25F / k;
    qw = (m[1] - m[4]) * k;
  }
}

template <class T>
std::ostream& operator<<(std::ostream& stream, const Matrix4<T>& m) {
  stream << m[0];
  for (std::size_t i = 1; i < Matrix4<T>::elementCount; ++i)
    stream << ' ' << m[i];
  return stream;
}

template <class T>
std::istream& operator>>(std::istream& stream, Matrix4<T>& m) {
  Matrix4<T> read;
  for (std::size_t i = 0; i < Matrix4<T>::elementCount; ++i)
    stream >> read[i];
  if (stream)
    m = read;
  return stream;
}

template class Matrix4<float>;
template class Matrix4<double>;
template std::ostream& operator<<(std::ostream&, const Matrix4<float>&);
template std::ostream& operator<<(std::ostream&, const Matrix4<double>&);
template std::istream& operator>>(std::istream&, Matrix4<float>&);
template std::istream& operator>>(std::istream&, Matrix4<double>&);

} // namespace Vantiflux
