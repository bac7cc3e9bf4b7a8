#include "../../apps/vantiflux/Output.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>

#include <apps/Counterparts.h>
#include <gtest/gtest.h>

namespace {

using Host::Output;

struct Pipe {
  Pipe() {
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
      std::abort();
  }
  ~Pipe() {
    close(ends[0]);
    close(ends[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;
  std::array<int, 2> ends{};
};

TEST(Output, CountsWhatAStalledReaderMissesAndNeverWaitsForIt) {
  const Pipe pipe;
  const test::Terminal terminal;
  for (const int fd : {pipe.ends[1], terminal.slave()}) {
    test::fill(fd);
    Output output(fd, {[] { ADD_FAILURE(); }, [](std::uint64_t) { ADD_FAILURE(); }});
    const std::size_t lines = 2 * Output::maxLines;
    for (std::size_t i = 0; i < lines; ++i)
      output.write("line\n");
    // A terminal that took nothing more just now may still find room for some.
    const std::uint64_t dropped = output.end();
    EXPECT_TRUE(dropped <= lines && dropped >= lines - 4096) << dropped;
    EXPECT_EQ(output.failure(), 0);
  }
}

TEST(Output, TellsOfGapsWhenTheReaderHasCaughtUp) {
  const Pipe pipe;
  std::atomic<std::uint64_t> dropped{0};
  Output output(pipe.ends[1], {[] { ADD_FAILURE(); }, [&](std::uint64_t lines) { dropped += lines; }});
  const std::string line(1 << 16, '\n');
  const std::size_t lines = 4 * Output::maxBytes / line.size();
  for (std::size_t i = 0; i < lines; ++i)
    output.write(line);
  fcntl(pipe.ends[0], F_SETFL, O_NONBLOCK);
  std::size_t bytes = 0;
  std::array<char, 4096> part{};
  for (bool all = false; !all;) {
    all = dropped != 0; // everything else stands in the pipe by then
    for (ssize_t size = 0; (size = read(pipe.ends[0], part.data(), part.size())) > 0;)
      bytes += static_cast<std::size_t>(size);
  }
  EXPECT_EQ(bytes + dropped * line.size(), lines * line.size());
  output.write("last\n");
  EXPECT_EQ(output.end(), 0);
  EXPECT_EQ(std::string(part.data(), static_cast<std::size_t>(read(pipe.ends[0], part.data(), part.size()))), "last\n");
}

TEST(Output, TellsOnceThatItCannotWrite) {
  Pipe pipe;
  close(pipe.ends[0]);
  pipe.ends[0] = -1;
  std::atomic<int> failures{0};
  Output output(pipe.ends[1], {[&] { ++failures; }, [](std::uint64_t) { ADD_FAILURE(); }});
  std::signal(SIGPIPE, SIG_IGN);
  while (failures == 0)
    output.write("line\n");
  EXPECT_EQ(output.end(), 0);
  EXPECT_EQ(output.failure(), EPIPE);
  EXPECT_EQ(failures, 1);
}

} // namespace
