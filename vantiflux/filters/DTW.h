#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// A component of an acceleration, in units of that of the earth, as one of the levels from -16 to 16. They are finer
/// below 1, which is level 11. What is no number stays that.
VANTIFLUX_API double quantize(double v);

/// Dynamic time warping: how alike two series are, if each may dwell on a value while the other goes on.
namespace DTW {

using Series = std::vector<double>;
/// The quantised x, y and z series of one gesture.
using Template = std::vector<Series>;

/// A step of a warp path: an index into the first series, and one into the second.
struct pair {
  std::int32_t first = 0;
  std::int32_t second = 0;
  friend bool operator==(const pair&, const pair&) = default;
};

struct SingleResult {
  double distance;
  std::vector<pair> path; ///< from the beginnings of both series to their ends
};

struct GestureResult {
  double distance;
  std::int32_t gesture;                 ///< 0 if none of the known ones
  std::vector<std::vector<pair>> paths; ///< of x, y and z, to the template that is most alike
};

/// Whether there is such a file, and it can be opened.
VANTIFLUX_API bool fileExists(const char* path);

/// Reads a template: lines of values between commas. The first value of a line is passed over, the next three belong to
/// the three series, and so on. A value that is none is what `strtod` makes of it. A file of more than 1 MiB, or one
/// that cannot be read, gives empty series, with a line on standard error if it is too large.
VANTIFLUX_API Template csvReader(const char* path);

/// Knows gestures by templates, and tells which one another is.
///
/// *Templates* lie in a folder with a folder for each class: "circles", "zets", "squares", "throws", "xs",
/// "circle_right", "right_to_left", "left_to_right", "up_to_down" and "down_to_up", the gestures 1 to 10. In each, they
/// are the files 0.csv, 1.csv and so on, up to the first that is missing; 1000 at most, of 4096 values at most. What is
/// missing gives a class without templates.
///
/// *Threads.* None of its own; a const object may be used by several.
class VANTIFLUX_API mydtw {
public:
  static constexpr std::size_t classes = 10;
  static constexpr std::size_t maxTemplates = 1000; ///< of a class
  static constexpr std::size_t maxPoints = 4096;    ///< of a series

  /// Asked now and then whether to go on with what takes long. If not, what there is until then counts.
  using GoOn = std::function<bool()>;

  /// Reads the templates of the folder that `findFolder` finds.
  explicit mydtw(const std::string& folder = "gestures", const GoOn& goOn = {});

  /// The path of a folder of templates by its name. A relative name is looked for in the working directory, in the
  /// directories of the environment variable VANTIFLUX_GESTURE_PATH (joined by colons), in $XDG_CONFIG_HOME/vantiflux,
  /// or $HOME/.config/vantiflux if that is not set, and in /etc/vantiflux.
  static std::string findFolder(const std::string& name);

  /// What people call a gesture; "unknown" for 0, and for any that is none.
  static const char* gestureName(std::int32_t gesture);

  /// Compares two series. Steps in both of them, and in either, cost the same, and nothing is done about their lengths.
  /// If one is empty, the distance is infinite. Takes 8 bytes for each pair of values.
  static SingleResult singledtw(const Series& a, const Series& b);

  /// The template that is most alike to these three series: the least sum of the three distances, the first one of
  /// equals. It is none of the known gestures if that is more than the threshold.
  GestureResult check_gesture(const std::vector<Series>& query, const GoOn& goOn = {}) const;

  const std::vector<std::vector<Template>>& templates() const noexcept { return templates_; }
  /// Of "unknown", and of each class.
  const std::vector<double>& thresholds() const noexcept { return thresholds_; }

private:
  std::vector<std::vector<Template>> templates_;
  std::vector<double> thresholds_;
};

} // namespace DTW

} // namespace Vantiflux
