#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <iosfwd>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// A 4 by 4 matrix of float or double, stored row by row: element (row, column) is number row * 4 + column.
/// A new matrix is the identity. Copying is a plain copy of memory.
///
/// Frames: vectors are columns, so m maps p to m p, and the translation of a transform stands in elements 3, 7 and 11.
///
/// The operations exist for float only; double matrices store and transport.
template <class T>
class VANTIFLUX_API Matrix4 {
public:
  static constexpr std::size_t elementCount = 16;

  constexpr Matrix4() = default;
  /// The elements row by row: Matrix4<float>({1, 0, 0, x, 0, 1, 0, y, 0, 0, 1, z, 0, 0, 0, 1}).
  constexpr explicit Matrix4(const std::array<T, elementCount>& elements) : elements_(elements) {}

  constexpr T& operator[](std::size_t index) { return elements_[index]; }
  constexpr const T& operator[](std::size_t index) const { return elements_[index]; }
  constexpr T& operator()(std::size_t row, std::size_t column) { return elements_[row * 4 + column]; }
  constexpr const T& operator()(std::size_t row, std::size_t column) const { return elements_[row * 4 + column]; }
  constexpr T* data() { return elements_.data(); }
  constexpr const T* data() const { return elements_.data(); }

  /// This becomes this times m. m may be this matrix itself.
  void mult(const Matrix4& m)
    requires std::same_as<T, float>;

  /// This becomes m times this. m may be this matrix itself.
  void multLeft(const Matrix4& m)
    requires std::same_as<T, float>;

  /// The determinant.
  float det() const
    requires std::same_as<T, float>;

  /// Writes the inverse to result and returns true; a determinant below 1e-30 in absolute value gives the identity and
  /// false. result may be this matrix itself.
  bool getInverse(Matrix4& result) const
    requires std::same_as<T, float>;

  /// Splits a transform into its translation and the quaternion of its rotation. Unless all three rows of the rotation
  /// part have length 1, the lengths of the columns are divided out first. Two turns that this reports with their sign
  /// or length off are described at the code; saved calibrations and filters depend on them.
  void getTransform(float& tx, float& ty, float& tz, float& qx, float& qy, float& qz, float& qw) const
    requires std::same_as<T, float>;

  friend constexpr bool operator==(const Matrix4&, const Matrix4&) = default;

private:
  std::array<T, elementCount> elements_ = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// The 16 elements in storage order, separated by one blank.
template <class T>
VANTIFLUX_API std::ostream& operator<<(std::ostream& stream, const Matrix4<T>& m);

/// Reads 16 numbers, row by row, with any white space between. On failure m stays as it was.
template <class T>
VANTIFLUX_API std::istream& operator>>(std::istream& stream, Matrix4<T>& m);

extern template class Matrix4<float>;
extern template class Matrix4<double>;
extern template std::ostream& operator<<(std::ostream&, const Matrix4<float>&);
extern template std::ostream& operator<<(std::ostream&, const Matrix4<double>&);
extern template std::istream& operator>>(std::istream&, Matrix4<float>&);
extern template std::istream& operator>>(std::istream&, Matrix4<double>&);

} // namespace Vantiflux
