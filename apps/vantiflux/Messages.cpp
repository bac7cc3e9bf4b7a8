#include "Messages.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

#include <vantiflux/core/Exception.h>

#include "OutputEnd.h"
#include "Printable.h"

namespace Host {

void tell(std::string_view message) {
  writeOrGiveUp(STDERR_FILENO, "vantiflux: " + printable(message) + '\n');
}

bool print(std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
    if (written < 0 && errno == EPIPE)
      return false;
    if (written < 0 && errno != EINTR)
      throwUnwritable(errno);
    text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return true;
}

void throwUnwritable(int error) {
  throw Vantiflux::Exception("Cannot write to standard output: " + std::generic_category().message(error));
}

} // namespace Host
