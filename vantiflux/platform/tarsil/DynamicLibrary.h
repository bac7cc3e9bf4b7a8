#pragma once

#include <exception>
#include <string>
#include <vantiflux/Export.h>

namespace Tarsil {

/// A shared library loaded at run time; unloaded with this object.
///
/// *Search*. A name with a slash is a path and is opened as it is, relative ones against the working directory. A bare
/// name is looked for in the directories of the environment variable VANTIFLUX_PLUGIN_PATH (colon-separated; empty
/// entries are ignored), in order, and then where the dynamic linker looks for libraries. The working directory is not
/// searched for bare names unless listed there, so that a file which happens to lie in it is not run by accident.
///
/// Threads: one at a time for an object.
class VANTIFLUX_API DynamicLibrary {
public:
  class VANTIFLUX_API Exception : public std::exception {
  public:
    explicit Exception(std::string message);
    ~Exception() override;
    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& getMessage() const noexcept { return message_; }

  private:
    std::string message_;
  };

  /// What makes a name a library's file name on this system.
  static constexpr const char* defaultPrefix = "lib";
  static constexpr const char* defaultSuffix = ".so";

  DynamicLibrary() noexcept = default;
  ~DynamicLibrary();
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;

  /// Loads the library and runs its static initialisers, all symbols resolved. One that was loaded by this object
  /// before is unloaded then. Throws `Exception` with the linker's text, and keeps what it had. An initialiser must not
  /// throw: it would leave the linker locked.
  void load(const char* name);

  bool loaded() const noexcept { return handle_ != nullptr; }

  /// Address of a symbol, null when the library has none of that name or none is loaded.
  void* symbol(const char* name) const noexcept;

private:
  void* handle_ = nullptr;
};

} // namespace Tarsil
