#pragma once

#include <string>

namespace Vantiflux {

/// Where calibration files are looked for, and how they are read.
class CalibrationFile {
public:
  /// The path of a file by its name. An absolute name is its own path. A relative one is looked for in the working
  /// directory, in the directories of the environment variable VANTIFLUX_CALIBRATION_PATH (joined by colons), in
  /// $XDG_CONFIG_HOME/vantiflux, or $HOME/.config/vantiflux if that is not set, and in /etc/vantiflux; the first that
  /// exists is taken. If there is none, the name itself comes back.
  static std::string find(const std::string& name);

  /// The whole file as text. Only regular files are read, up to 64 MiB, so nothing blocks. Throws a std::exception that
  /// says what failed.
  static std::string read(const std::string& path);
};

} // namespace Vantiflux
