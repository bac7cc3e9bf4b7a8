#include <vantiflux/filters/RadialBasis.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <iterator>

#include <vantiflux/filters/LinearSystem.h>

namespace Vantiflux {

namespace {

/// The elements of a matrix that are interpolated: the first column, then the second.
constexpr std::array<std::size_t, 6> orientationElements = {0, 4, 8, 1, 5, 9};

inline float kernel(float x, float y, float z, float rSquare) {
  return std::sqrt(x * x + y * y + z * z + rSquare);
}

/// The right sides of the nine systems, in the order of a row.
std::vector<std::vector<double>> valuesOf(const ReferenceTable& table) {
  std::vector<std::vector<double>> values(3 + orientationElements.size());
  for (std::size_t i = 0; i < table.size(); ++i) {
    const Vec3<float>& p = table.realityPos[i];
    values[0].push_back(static_cast<double>(p.x));
    values[1].push_back(static_cast<double>(p.y));
    values[2].push_back(static_cast<double>(p.z));
    for (std::size_t e = 0; e < orientationElements.size(); ++e)
      values[3 + e].push_back(static_cast<double>(table.measureOri[i][orientationElements[e]]));
  }
  return values;
}

} // namespace

RadialBasis::RadialBasis(const ReferenceTable& table, float rSquare) : size_(table.size()), rSquare_(rSquare) {
  const std::size_t filled = (size_ + block - 1) / block * block;
  for (std::vector<float>* const coordinates : {&x_, &y_, &z_})
    coordinates->resize(filled);
  for (std::size_t i = 0; i < size_; ++i) {
    x_[i] = table.measurePos[i].x;
    y_[i] = table.measurePos[i].y;
    z_[i] = table.measurePos[i].z;
  }
  const auto distance = [this](std::size_t i, std::size_t j) {
    return static_cast<double>(kernel(x_[i] - x_[j], y_[i] - y_[j], z_[i] - z_[j], rSquare_));
  };
  const std::vector<std::vector<double>> solutions = solveLinear(size_, distance, valuesOf(table));
  rows_.resize(size_ * rowLength);
  for (std::size_t sum = 0; sum < sumCount; ++sum)
    for (std::size_t i = 0; i < size_; ++i)
      rows_[i * rowLength + sum] = static_cast<float>(solutions[sum][i]);
}

RadialBasis::Sums RadialBasis::at(const Vec3<float>& p) const {
  using Lanes = float __attribute__((vector_size(lanes * sizeof(float))));
  Lanes sums[rowLength / lanes] = {};
  std::array<float, block> d;
  const float* row = rows_.data();
  for (std::size_t begin = 0; begin < size_; begin += block) {
    for (std::size_t i = 0; i < block; ++i)
      d[i] = kernel(p.x - x_[begin + i], p.y - y_[begin + i], p.z - z_[begin + i], rSquare_);
    const std::size_t count = std::min(block, size_ - begin);
    for (std::size_t i = 0; i < count; ++i, row += rowLength)
      for (std::size_t v = 0; v < std::size(sums); ++v) {
        Lanes coefficients;
        std::memcpy(&coefficients, row + v * lanes, sizeof(coefficients));
        sums[v] += coefficients * d[i];
      }
  }
  std::array<float, rowLength> s;
  std::memcpy(s.data(), sums, sizeof(s));
  return {{s[0], s[1], s[2]}, {s[3], s[4], s[5]}, {s[6], s[7], s[8]}};
}

Vec3<float> RadialBasis::coeffPos(std::size_t i) const {
  const float* const row = &rows_[i * rowLength];
  return {row[0], row[1], row[2]};
}

Matrix4<float> RadialBasis::coeffOri(std::size_t i) const {
  Matrix4<float> m;
  for (std::size_t e = 0; e < orientationElements.size(); ++e)
    m[orientationElements[e]] = rows_[i * rowLength + 3 + e];
  return m;
}

} // namespace Vantiflux
