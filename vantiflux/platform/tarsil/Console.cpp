#include <vantiflux/platform/tarsil/Console.h>

#include <iostream>
#include <mutex>

#include <poll.h>
#include <unistd.h>

namespace Tarsil {

namespace {

// A pipe that is ready takes 4096 bytes at least. The lock keeps it ready until they are written.
void print(std::ostream& stream, int descriptor, std::string_view text) {
  static std::mutex& oneAtATime = *new std::mutex; // threads may print while the process exits
  const std::lock_guard guard(oneAtATime);
  pollfd out{descriptor, POLLOUT, 0};
  if (::poll(&out, 1, 0) == 1 && (out.revents & POLLOUT) != 0)
    stream << text << std::endl;
}

} // namespace

void printLine(std::string_view text) {
  print(std::cout, STDOUT_FILENO, text);
}

void printErrorLine(std::string_view text) {
  print(std::cerr, STDERR_FILENO, text);
}

} // namespace Tarsil
