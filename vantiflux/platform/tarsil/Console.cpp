#include <vantiflux/platform/tarsil/Console.h>

#include <iostream>
#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace Tarsil::Console {

namespace {

// A pipe that is ready takes 4096 bytes at least. The lock keeps it ready until they are written.
void write(std::ostream& stream, int descriptor, std::string_view text) {
  static std::mutex& lock = *new std::mutex; // threads may write while the process exits
  const std::lock_guard guard(lock);
  pollfd ready{descriptor, POLLOUT, 0};
  if (::poll(&ready, 1, 0) == 1 && (ready.revents & (POLLERR | POLLNVAL)) == 0)
    stream.write(text.data(), static_cast<std::streamsize>(text.size())).flush();
}

} // namespace

void out(std::string_view text) {
  write(std::cout, STDOUT_FILENO, text);
}

void error(std::string_view text) {
  write(std::cerr, STDERR_FILENO, text);
}

} // namespace Tarsil::Console
