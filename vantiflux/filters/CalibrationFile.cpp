#include <vantiflux/filters/CalibrationFile.h>

#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>
#include <vector>

#include <vantiflux/platform/pelorn/URLFile.h>

namespace Vantiflux {

namespace {

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

std::vector<std::string> directories() {
  std::vector<std::string> found;
  std::istringstream path(environment("VANTIFLUX_CALIBRATION_PATH"));
  for (std::string directory; std::getline(path, directory, ':');)
    if (!directory.empty())
      found.push_back(directory);
  if (const std::string config = environment("XDG_CONFIG_HOME"); !config.empty())
    found.push_back(config + "/vantiflux");
  else if (const std::string home = environment("HOME"); !home.empty())
    found.push_back(home + "/.config/vantiflux");
  found.emplace_back("/etc/vantiflux");
  return found;
}

bool exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(path, error);
}

} // namespace

std::string CalibrationFile::find(const std::string& name) {
  if (name.empty() || name[0] == '/' || exists(name))
    return name;
  for (const std::string& directory : directories())
    if (std::string path = directory + "/" + name; exists(path))
      return path;
  return name;
}

std::string CalibrationFile::read(const std::string& path) {
  const auto stream = Pelorn::URLFile(path).open();
  std::string text;
  std::string block(std::size_t{1} << 16, '\0');
  // A file may grow while it is read.
  while (stream->read(block.data(), static_cast<std::streamsize>(block.size())), stream->gcount() > 0)
    if (text.append(block, 0, static_cast<std::size_t>(stream->gcount())).size() > Pelorn::URLImpl::maxDocument)
      throw Pelorn::URLImpl::Exception("Cannot read " + path + ": too long");
  return text;
}

} // namespace Vantiflux
