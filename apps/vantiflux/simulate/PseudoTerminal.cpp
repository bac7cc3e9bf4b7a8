#include "PseudoTerminal.h"

#include <array>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

#include <vantiflux/core/Exception.h>
#include <vantiflux/platform/pelorn/Serial.h>

namespace Simulate {

PseudoTerminal::~PseudoTerminal() {
  PseudoTerminal::close();
}

void PseudoTerminal::open(const std::string& link) {
  close();
  Pelorn::Descriptor master(::posix_openpt(O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC));
  std::array<char, 128> name{};
  if (!master || ::grantpt(master.get()) != 0 || ::unlockpt(master.get()) != 0 ||
      ::ptsname_r(master.get(), name.data(), name.size()) != 0)
    throw Vantiflux::Exception("Cannot make a pseudo-terminal");
  path_ = name.data();
  driverEnd_ = Pelorn::Descriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
  termios raw{};
  if (!driverEnd_ || ::tcgetattr(driverEnd_.get(), &raw) != 0)
    throw Vantiflux::Exception("Cannot open " + path_);
  ::cfmakeraw(&raw); // or it would send back what it gets
  ::tcsetattr(driverEnd_.get(), TCSANOW, &raw);
  adopt(std::move(master), "Cannot open " + path_);
  if (link.empty())
    return;
  std::error_code error;
  if (std::filesystem::is_symlink(link, error))
    std::filesystem::remove(link, error);
  std::filesystem::create_symlink(path_, link, error);
  if (error)
    throw Vantiflux::Exception("Cannot make the link " + link + ": " + error.message());
  link_ = link;
}

void PseudoTerminal::close() {
  Channel::close();
  const Pelorn::Descriptor closed(std::move(driverEnd_));
  if (!link_.empty()) {
    std::error_code ignored;
    std::filesystem::remove(link_, ignored);
    link_.clear();
  }
}

int PseudoTerminal::speed() const {
  const auto terminal = handle();
  termios settings{};
  if (!terminal || ::tcgetattr(terminal->fd(), &settings) != 0)
    return 0;
  return Pelorn::Serial::toBitsPerSecond(static_cast<Pelorn::Serial::BaudRate>(::cfgetospeed(&settings)));
}

} // namespace Simulate
