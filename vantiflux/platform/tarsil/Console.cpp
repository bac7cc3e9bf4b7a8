#include <vantiflux/platform/tarsil/Console.h>

#include <iostream>
#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace Tarsil {

void printLine(const std::string& text) {
  static std::mutex oneAtATime;
  const std::lock_guard guard(oneAtATime);
  pollfd out{STDOUT_FILENO, POLLOUT, 0};
  if (::poll(&out, 1, 0) == 1 && (out.revents & POLLOUT) != 0)
    std::cout << text << std::endl;
}

} // namespace Tarsil
