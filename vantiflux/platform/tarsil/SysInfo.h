#pragma once

#include <string>
#include <vantiflux/Export.h>

namespace Tarsil {

/// What the system tells of this process and its host. Read once; immutable, so free for every thread.
class VANTIFLUX_API SysInfo {
public:
  static const SysInfo& the();

  /// Name of the user whose rights the process has; the number when the name is not known.
  const std::string& getUserName() const noexcept { return user_; }
  const std::string& getHostName() const noexcept { return host_; }
  /// Kind, release and machine, as "Linux 6.1.0 x86_64".
  const std::string& getSystemName() const noexcept { return system_; }
  /// Processors that this process may use, at least 1.
  unsigned getNumberOfProcessors() const noexcept { return processors_; }
  /// Asked anew each time, so right also in a forked child.
  int getProcessId() const noexcept;

private:
  SysInfo();

  std::string user_;
  std::string host_;
  std::string system_;
  unsigned processors_;
};

} // namespace Tarsil
