#include <vantiflux/platform/tarsil/DynamicLibrary.h>

#include <climits>
#include <cstdlib>
#include <dlfcn.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace Tarsil {

namespace {

std::string linkerText(const std::string& name) {
  const char* text = ::dlerror();
  return text ? text : name + ": cannot be loaded";
}

void* tryLoad(const std::string& file, std::string& error) {
  void* handle = ::dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle && error.empty())
    error = linkerText(file);
  return handle;
}

/// From the directories of the environment variable. The error stays empty when no directory holds the file.
void* loadFromPluginPath(const std::string& name, std::string& error) {
  const char* variable = std::getenv("VANTIFLUX_PLUGIN_PATH");
  std::string_view rest = variable ? variable : "";
  while (!rest.empty()) {
    const auto colon = rest.find(':');
    const std::string directory(rest.substr(0, colon));
    rest = colon == std::string_view::npos ? std::string_view() : rest.substr(colon + 1);
    if (directory.empty())
      continue;
    // The slash makes a path of it, for which the linker searches nowhere else.
    const std::string file = directory + "/" + name;
    if (::access(file.c_str(), F_OK) != 0)
      continue;
    if (void* handle = tryLoad(file, error))
      return handle;
  }
  return nullptr;
}

} // namespace

DynamicLibrary::Exception::Exception(std::string message) : message_(std::move(message)) {}
DynamicLibrary::Exception::~Exception() = default;

DynamicLibrary::~DynamicLibrary() {
  if (handle_)
    ::dlclose(handle_);
}

void DynamicLibrary::load(const char* name) {
  // The linker takes an empty name for the program itself.
  if (!name || !*name)
    throw Exception("A library without a name cannot be loaded");
  const std::string file = name;
  // The linker puts the name on its stack, whatever its length. Names come from saved files.
  if (file.size() >= PATH_MAX)
    throw Exception("The name of a library is too long");
  std::string error;
  void* handle = nullptr;
  if (file.find('/') == std::string::npos)
    handle = loadFromPluginPath(file, error);
  if (!handle)
    handle = tryLoad(file, error);
  if (!handle)
    throw Exception(error);
  if (void* old = std::exchange(handle_, handle))
    ::dlclose(old);
}

void* DynamicLibrary::symbol(const char* name) const noexcept {
  return handle_ ? ::dlsym(handle_, name) : nullptr;
}

} // namespace Tarsil
