#pragma once

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vantiflux/platform/pelorn/Descriptor.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/ServerSocket.h>
#include <vantiflux/platform/pelorn/Socket.h>

namespace test {

/// Waits for a condition; false only when something is broken.
template <class Condition>
bool eventually(Condition&& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// A thread of which one can tell that it sleeps in the kernel.
class Worker {
public:
  template <class Work>
  explicit Worker(Work work)
      : thread_([this, work = std::move(work)]() mutable {
          tid_ = static_cast<int>(::syscall(SYS_gettid));
          work();
          done_ = true;
        }) {}
  ~Worker() { join(); }
  void join() {
    if (thread_.joinable())
      thread_.join();
  }
  bool done() const { return done_; }

  /// Several looks in a row find it asleep, so it has reached the call that blocks it.
  bool blocked() const {
    int asleep = 0;
    return eventually([&] {
             if (done_)
               return true;
             asleep = state() == 'S' ? asleep + 1 : 0;
             return asleep == 20;
           }) &&
           !done_;
  }

private:
  char state() const {
    if (tid_ == 0)
      return '?';
    std::ifstream stat("/proc/self/task/" + std::to_string(tid_.load()) + "/stat");
    std::string text;
    std::getline(stat, text);
    const auto name = text.rfind(')');
    return name == std::string::npos || name + 2 >= text.size() ? '?' : text[name + 2];
  }

  std::atomic<int> tid_{0};
  std::atomic<bool> done_{false};
  std::thread thread_;
};

/// A pseudo-terminal: the test holds the far end of the line.
class Pty {
public:
  Pty() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    EXPECT_EQ(0, ::grantpt(master_.get()));
    EXPECT_EQ(0, ::unlockpt(master_.get()));
    char name[128] = "";
    EXPECT_EQ(0, ::ptsname_r(master_.get(), name, sizeof name));
    path_ = name;
  }
  const std::string& path() const { return path_; }
  int master() const { return master_.get(); }
  void send(const std::string& text) const {
    EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(master_.get(), text.data(), text.size()));
  }
  std::string receive(std::size_t size) const {
    std::string text;
    char buffer[256];
    pollfd entry{master_.get(), POLLIN, 0};
    while (text.size() < size && ::poll(&entry, 1, 30000) == 1) {
      const ssize_t got = ::read(master_.get(), buffer, std::min(sizeof buffer, size - text.size()));
      if (got <= 0)
        break;
      text.append(buffer, static_cast<std::size_t>(got));
    }
    return text;
  }
  void hangUp() { Pelorn::Descriptor().operator=(std::move(master_)); }

private:
  Pelorn::Descriptor master_;
  std::string path_;
};

/// Both ends of a TCP connection on the loopback interface.
struct Connection {
  Connection() {
    Pelorn::ServerSocket server;
    server.open("127.0.0.1", 0);
    client.open("127.0.0.1", server.getLocalAddress().getServicePort());
    peer = server.accept();
  }
  Pelorn::Socket client;
  std::unique_ptr<Pelorn::Socket> peer;
};

/// A folder that goes with the test.
class TemporaryFolder {
public:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "vantiflux-XXXXXX").string();
    if (const char* made = ::mkdtemp(pattern.data()))
      path_ = made;
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }
  std::string write(const std::string& name, const std::string& text) const {
    std::ofstream(path_ / name, std::ios::binary) << text;
    return (path_ / name).string();
  }

private:
  std::filesystem::path path_;
};

/// A port of this host that nothing uses. It is none of those that the system chooses, and test programs that run side
/// by side look in different places: nobody else takes it before the test does.
template <class Socket = Pelorn::ServerSocket>
std::uint16_t freePort() {
  static int next = getpid() * 16;
  for (;;) {
    const auto port = static_cast<std::uint16_t>(10000 + next++ % 20000);
    try {
      Socket().open("127.0.0.1", port);
      return port;
    } catch (const Pelorn::Exception&) { // taken
    }
  }
}

} // namespace test
