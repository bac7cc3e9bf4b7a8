#include <vantiflux/filters/SearchPath.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <system_error>
#include <vector>

namespace Vantiflux {

namespace {

std::string environment(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

std::vector<std::string> directories(const char* variable) {
  std::vector<std::string> found;
  std::istringstream path(environment(variable));
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

std::string SearchPath::find(const std::string& name, const char* variable) {
  if (name.empty() || name[0] == '/' || exists(name))
    return name;
  for (const std::string& directory : directories(variable))
    if (std::string path = directory + "/" + name; exists(path))
      return path;
  return name;
}

} // namespace Vantiflux
