#pragma once

#include <string>

namespace Vantiflux {

/// Where calibration files are looked for, and how they are read.
class CalibrationFile {
public:
  /// The path of a file by its name, as SearchPath finds it, with VANTIFLUX_CALIBRATION_PATH.
  static std::string find(const std::string& name);

  /// The whole file as text. Only regular files are read, up to 64 MiB, so nothing blocks. Throws a std::exception that
  /// says what failed.
  static std::string read(const std::string& path);
};

} // namespace Vantiflux
