#pragma once

#include <string>

#include <vantiflux/platform/pelorn/Channel.h>

namespace Simulate {

/// A serial line without hardware: this is the device's end of it; `path` is the terminal that a driver opens.
class PseudoTerminal : public Pelorn::Channel {
public:
  PseudoTerminal() = default;
  /// Removes the link.
  ~PseudoTerminal() override;

  /// Makes a new terminal, in place of an earlier one, which hangs up, and points the link there unless it is empty.
  /// A file in the place of the link is replaced only if it is a symbolic link. Throws Vantiflux::Exception.
  void open(const std::string& link);
  void close() override;

  const std::string& path() const noexcept { return path_; }
  /// The speed that the driver has set, in bits per second; 0 if it is none of the usual ones.
  int speed() const;

private:
  std::string path_;
  std::string link_;
  Pelorn::Descriptor driverEnd_; ///< held so that the line does not hang up while no driver has it open
};

} // namespace Simulate
