#include "touch_yardstick.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

std::uint32_t numberAt(const char* bytes) {
  std::uint32_t value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return __builtin_bswap32(value);
}

double distance(const std::vector<double>& a, const std::vector<double>& b, std::vector<double>& table) {
  const std::size_t n = a.size();
  const std::size_t m = b.size();
  double* const d = table.data();
  d[0] = std::abs(a[0] - b[0]);
  for (std::size_t j = 1; j < m; ++j)
    d[j] = std::abs(a[0] - b[j]) + d[j - 1];
  for (std::size_t i = 1; i < n; ++i) {
    d[i * m] = std::abs(a[i] - b[0]) + d[(i - 1) * m];
    for (std::size_t j = 1; j < m; ++j)
      d[i * m + j] =
          std::abs(a[i] - b[j]) + std::min(d[i * m + j - 1], std::min(d[(i - 1) * m + j], d[(i - 1) * m + j - 1]));
  }
  return d[n * m - 1];
}

} // namespace

double Yardstick::walkBundle(const std::string& datagram) {
  double sum = 0;
  const char* at = datagram.data() + 16;
  const char* const end = datagram.data() + datagram.size();
  while (at < end) {
    const std::size_t size = numberAt(at);
    const char* argument = at + 4;
    argument += (std::strlen(argument) / 4 + 1) * 4;
    const char* types = argument;
    argument += (std::strlen(argument) / 4 + 1) * 4;
    for (++types; *types != '\0'; ++types) {
      if (*types == 's') {
        sum += *argument;
        argument += (std::strlen(argument) / 4 + 1) * 4;
      } else {
        sum += *types == 'f' ? static_cast<double>(std::bit_cast<float>(numberAt(argument))) : numberAt(argument);
        argument += 4;
      }
    }
    at += 4 + size;
  }
  return sum;
}

double Yardstick::leastSum(const std::vector<std::vector<std::vector<double>>>& patterns,
                           const std::vector<std::vector<double>>& query) {
  std::vector<double> table(patterns[0][0].size() * query[0].size());
  double best = std::numeric_limits<double>::infinity();
  for (const auto& pattern : patterns) {
    double sum = 0;
    for (std::size_t k = 0; k < 3; ++k)
      sum += distance(pattern[k], query[k], table);
    best = std::min(best, sum);
  }
  return best;
}
