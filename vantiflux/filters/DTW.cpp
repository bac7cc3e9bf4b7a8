#include <vantiflux/filters/DTW.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <system_error>

#include <vantiflux/filters/SearchPath.h>
#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

namespace {

constexpr double threshold = 100;
constexpr std::uintmax_t maxFile = 1 << 20;
constexpr double infinity = std::numeric_limits<double>::infinity();

struct Gesture {
  const char* folder;
  const char* name;
};
constexpr std::array<Gesture, DTW::mydtw::classes> gestures{{{"circles", "circle"},
                                                             {"zets", "zet"},
                                                             {"squares", "square"},
                                                             {"throws", "throw"},
                                                             {"xs", "x"},
                                                             {"circle_right", "circle_right"},
                                                             {"right_to_left", "left"},
                                                             {"left_to_right", "right"},
                                                             {"up_to_down", "down"},
                                                             {"down_to_up", "up"}}};

/// Where the levels from 2 on begin.
constexpr std::array<double, 15> levels{0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9, 1.0, 1.2, 1.4, 1.6, 1.8, 2.0};

/// A number in the form of the C locale, whatever the process has set.
double numberOf(const std::string& text) {
  static const locale_t plain = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return ::strtod_l(text.c_str(), nullptr, plain);
}

/// The three values of one moment, side by side: their sums do not wait for each other.
using Moment = std::array<double, 3>;

double least(double left, double up, double diagonal) {
  return std::min(left, std::min(up, diagonal));
}

/// The distances of three pairs of series that are as long as each other, without their paths: row after row of the
/// table takes the place of the one before.
class Distances {
public:
  explicit Distances(const std::vector<DTW::Series>& query) : query_(query[0].size()), row_(query[0].size()) {
    for (std::size_t j = 0; j < query_.size(); ++j)
      query_[j] = {query[0][j], query[1][j], query[2][j]};
  }

  double sum(const DTW::Template& pattern) {
    const std::size_t n = pattern[0].size();
    for (std::size_t i = 0; i < n; ++i)
      addRow({pattern[0][i], pattern[1][i], pattern[2][i]}, i == 0);
    const Moment& end = row_.back();
    return end[0] + end[1] + end[2];
  }

private:
  void addRow(const Moment& a, bool first) {
    Moment diagonal = row_[0];
    Moment left{};
    for (std::size_t k = 0; k < 3; ++k)
      left[k] = std::abs(a[k] - query_[0][k]) + (first ? 0 : diagonal[k]);
    row_[0] = left;
    for (std::size_t j = 1; j < query_.size(); ++j) {
      const Moment up = row_[j];
      for (std::size_t k = 0; k < 3; ++k)
        left[k] = std::abs(a[k] - query_[j][k]) + (first ? left[k] : least(left[k], up[k], diagonal[k]));
      row_[j] = left;
      diagonal = up;
    }
  }

  std::vector<Moment> query_;
  std::vector<Moment> row_;
};

bool areAlikeLong(const std::vector<DTW::Series>& series) {
  return series.size() == 3 && !series[0].empty() && series[1].size() == series[0].size() &&
         series[2].size() == series[0].size();
}

double sumOfSingles(const DTW::Template& pattern, const std::vector<DTW::Series>& query) {
  double sum = 0;
  for (std::size_t k = 0; k < 3; ++k)
    sum += k < pattern.size() && k < query.size() ? DTW::mydtw::singledtw(pattern[k], query[k]).distance : infinity;
  return sum;
}

} // namespace

double quantize(double v) {
  if (v == 0 || std::isnan(v))
    return v == 0 ? 0 : v;
  const auto reached = std::upper_bound(levels.begin(), levels.end(), std::abs(v)) - levels.begin();
  return std::copysign(static_cast<double>(1 + reached), v);
}

bool DTW::fileExists(const char* path) {
  std::error_code error;
  return std::filesystem::is_regular_file(path, error) && std::ifstream(path).is_open();
}

DTW::Template DTW::csvReader(const char* path) {
  Template series(3);
  std::error_code error;
  const std::uintmax_t size =
      std::filesystem::is_regular_file(path, error) ? std::filesystem::file_size(path, error) : 0;
  if (!error && size > maxFile)
    Tarsil::printErrorLine("Template of a gesture is too large: " + std::string(path));
  if (error || size > maxFile)
    return series;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) {
    std::istringstream fields(line);
    std::size_t counter = 0;
    for (std::string field; std::getline(fields, field, ',');) {
      if (counter > 0 && series[counter - 1].size() < mydtw::maxPoints)
        series[counter - 1].push_back(numberOf(field));
      counter = (counter + 1) % 4;
    }
  }
  return series;
}

std::string DTW::mydtw::findFolder(const std::string& name) {
  return SearchPath::find(name, "VANTIFLUX_GESTURE_PATH");
}

const char* DTW::mydtw::gestureName(std::int32_t gesture) {
  const auto number = static_cast<std::size_t>(gesture);
  return gesture > 0 && number <= classes ? gestures[number - 1].name : "unknown";
}

DTW::mydtw::mydtw(const std::string& folder, const GoOn& goOn) : thresholds_{threshold} {
  const std::string root = findFolder(folder);
  for (const Gesture& gesture : gestures) {
    std::vector<Template>& known = templates_.emplace_back();
    while (known.size() < maxTemplates && (!goOn || goOn())) {
      const std::string path = root + "/" + gesture.folder + "/" + std::to_string(known.size()) + ".csv";
      if (!fileExists(path.c_str()))
        break;
      known.push_back(csvReader(path.c_str()));
    }
  }
  thresholds_.insert(thresholds_.end(), classes, threshold);
}

DTW::SingleResult DTW::mydtw::singledtw(const Series& a, const Series& b) {
  const std::size_t n = a.size();
  const std::size_t m = b.size();
  if (n == 0 || m == 0)
    return {infinity, {}};
  std::vector<double> table(n * m);
  const auto at = [&](std::size_t i, std::size_t j) -> double& { return table[i * m + j]; };
  for (std::size_t i = 0; i < n; ++i)
    for (std::size_t j = 0; j < m; ++j) {
      const double before = i == 0 && j == 0 ? 0
                            : i == 0         ? at(0, j - 1)
                            : j == 0         ? at(i - 1, 0)
                                             : least(at(i, j - 1), at(i - 1, j), at(i - 1, j - 1));
      at(i, j) = std::abs(a[i] - b[j]) + before;
    }
  SingleResult result{at(n - 1, m - 1), {}};
  std::size_t i = n - 1;
  std::size_t j = m - 1;
  const auto note = [&] { result.path.push_back({static_cast<std::int32_t>(i), static_cast<std::int32_t>(j)}); };
  note();
  while (i + j > 0) {
    const double up = i > 0 && j > 0 ? at(i - 1, j) : 0;
    const double left = i > 0 && j > 0 ? at(i, j - 1) : 0;
    const double diagonal = i > 0 && j > 0 ? at(i - 1, j - 1) : 0;
    const bool stayI = i == 0 || (j > 0 && !(left > up) && diagonal > left);
    const bool stayJ = j == 0 || (i > 0 && left > up && diagonal > up);
    i -= stayI ? 0 : 1;
    j -= stayJ ? 0 : 1;
    note();
  }
  std::reverse(result.path.begin(), result.path.end());
  return result;
}

// The paths are found for the one template that is most alike, in the end. The best distance stays when a class ends
// above the threshold: a later class wins only with a smaller sum.
DTW::GestureResult DTW::mydtw::check_gesture(const std::vector<Series>& query, const GoOn& goOn) const {
  GestureResult result{infinity, 0, {}};
  const Template* best = nullptr;
  const bool plain = areAlikeLong(query);
  Distances distances(plain ? query : std::vector<Series>(3, Series(1)));
  for (std::size_t number = 0; number < templates_.size(); ++number) {
    for (const Template& candidate : templates_[number]) {
      if (goOn && !goOn())
        return result;
      const double sum = plain && areAlikeLong(candidate) ? distances.sum(candidate) : sumOfSingles(candidate, query);
      if (result.distance > sum) {
        result.distance = sum;
        result.gesture = static_cast<std::int32_t>(number + 1);
        best = &candidate;
      }
    }
    if (result.distance > thresholds_[0])
      result.gesture = 0;
  }
  for (std::size_t k = 0; best != nullptr && k < 3; ++k)
    result.paths.push_back(singledtw((*best)[k], query[k]).path);
  return result;
}

} // namespace Vantiflux
