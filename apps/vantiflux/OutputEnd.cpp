#include "OutputEnd.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Host {

OutputEnd::OutputEnd(int fd) : fd_(fd) {
  struct stat status {};
  if (::fstat(fd, &status) != 0)
    return;
  socket_ = S_ISSOCK(status.st_mode);
  file_ = S_ISREG(status.st_mode);
  // A regular file keeps its position in the shared description, and never stalls.
  if (S_ISCHR(status.st_mode) || S_ISFIFO(status.st_mode))
    own_ = ::open(("/proc/self/fd/" + std::to_string(fd)).c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

OutputEnd::~OutputEnd() {
  if (own_ >= 0)
    ::close(own_);
}

ssize_t OutputEnd::write(std::string_view text) const {
  for (;;) {
    const ssize_t written = writeOnce(text);
    if (written >= 0)
      return written;
    if (errno == EAGAIN || errno == EWOULDBLOCK)
      return 0;
    if (errno != EINTR)
      return -1;
  }
}

ssize_t OutputEnd::writeOnce(std::string_view text) const {
  if (socket_)
    return ::send(fd_, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (own_ >= 0 || file_)
    return ::write(descriptor(), text.data(), text.size());
  // It could not be opened a second time. A pipe that is ready takes this much without blocking.
  pollfd ready = {fd_, POLLOUT, 0};
  const int count = ::poll(&ready, 1, 0);
  if (count <= 0)
    return count;
  return ::write(fd_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
}

bool writeOrGiveUp(int fd, std::string_view text) {
  constexpr int patience = 500;
  const OutputEnd end(fd);
  while (!text.empty()) {
    const ssize_t written = end.write(text);
    if (written < 0)
      return false;
    text.remove_prefix(static_cast<std::size_t>(written));
    pollfd ready = {end.descriptor(), POLLOUT, 0};
    if (written == 0 && ::poll(&ready, 1, patience) == 0) {
      errno = EAGAIN;
      return false;
    }
  }
  return true;
}

} // namespace Host
