#include "StandardOutput.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include <poll.h>
#include <unistd.h>

#include <vantiflux/core/Exception.h>

namespace Host {

StandardOutput::StandardOutput() {
  if (!ended_.create())
    throw Vantiflux::Exception("Cannot create wait object");
}

bool StandardOutput::write(std::string_view text) {
  while (!text.empty()) {
    std::array<pollfd, 2> ready = {{{STDOUT_FILENO, POLLOUT, 0}, {ended_.descriptor(), POLLIN, 0}}};
    if (::poll(ready.data(), ready.size(), -1) < 0) {
      if (errno == EINTR)
        continue;
      return false;
    }
    if (ready[1].revents != 0)
      return false;
    // A pipe that is ready takes this much without blocking.
    const ssize_t written = ::write(STDOUT_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (written < 0 && errno != EINTR && errno != EAGAIN)
      return false;
    text.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
  }
  return true;
}

} // namespace Host
