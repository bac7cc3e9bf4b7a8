#pragma once

#include <array>
#include <cstddef>
#include <ostream>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// A 3 by 3 matrix of float or double, stored row by row: element (row, column) is number row * 3 + column.
/// A new matrix is the identity. Copying is a plain copy of memory.
template <class T>
class VANTIFLUX_API Matrix3 {
public:
  static constexpr std::size_t elementCount = 9;

  constexpr Matrix3() = default;
  /// The elements row by row: Matrix3<float>({1, 0, 0, 0, 1, 0, 0, 0, 1}).
  constexpr explicit Matrix3(const std::array<T, elementCount>& elements) : elements_(elements) {}

  constexpr T& operator[](std::size_t index) { return elements_[index]; }
  constexpr const T& operator[](std::size_t index) const { return elements_[index]; }
  constexpr T& operator()(std::size_t row, std::size_t column) { return elements_[row * 3 + column]; }
  constexpr const T& operator()(std::size_t row, std::size_t column) const { return elements_[row * 3 + column]; }
  constexpr T* data() { return elements_.data(); }
  constexpr const T* data() const { return elements_.data(); }

  friend constexpr bool operator==(const Matrix3&, const Matrix3&) = default;

  /// The elements in storage order, separated by one blank.
  friend std::ostream& operator<<(std::ostream& stream, const Matrix3& m) {
    stream << m[0];
    for (std::size_t i = 1; i < elementCount; ++i)
      stream << ' ' << m[i];
    return stream;
  }

private:
  std::array<T, elementCount> elements_ = {1, 0, 0, 0, 1, 0, 0, 0, 1};
};

} // namespace Vantiflux
