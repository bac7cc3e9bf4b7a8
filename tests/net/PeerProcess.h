#pragma once

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <platform/support.h>

namespace test {

/// Fields that keep a node to the loopback interface, with a group of this test's own.
inline std::vector<std::string> loopbackFields() {
  static std::atomic<int> count{0};
  const int mine = static_cast<int>(getpid()) * 8 + count++;
  return {"Address=127.0.0.1", "MulticastTTL=0", "MulticastAddress=239.255.71." + std::to_string(mine % 250 + 1),
          "MulticastPort=" + std::to_string(20000 + mine % 40000), "ID=" + std::to_string(mine % 30000)};
}

inline std::vector<std::string> operator+(std::vector<std::string> a, const std::vector<std::string>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

/// A process of peer.cpp.
class PeerProcess {
public:
  /// `prefix` are words before the program, such as those that enter a network namespace.
  explicit PeerProcess(const std::vector<std::string>& fields, const std::vector<std::string>& prefix = {}) {
    std::vector<std::string> words = prefix + std::vector<std::string>{NET_PEER} + fields;
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0)
      std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 3);
    std::vector<char*> arguments;
    for (std::string& word : words)
      arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
      std::abort();
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    to_ = Pelorn::Descriptor(in[1]);
    from_ = Pelorn::Descriptor(out[0]);
  }
  ~PeerProcess() { kill(SIGKILL); }
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  /// The lines of the answer.
  std::string ask(const std::string& command) {
    const std::string line = command + '\n';
    if (write(to_.get(), line.data(), line.size()) != static_cast<ssize_t>(line.size()))
      return "gone\n";
    std::string answer;
    for (char c = 0; read(from_.get(), &c, 1) == 1;) {
      answer += c;
      if (answer == ".\n" || (answer.size() > 2 && answer.compare(answer.size() - 3, 3, "\n.\n") == 0))
        return answer.substr(0, answer.size() - 2);
    }
    return answer + "gone\n";
  }
  /// Whether the answer comes to hold this text.
  bool comesToHold(const std::string& command, const std::string& text) {
    return eventually([&] { return ask(command).find(text) != std::string::npos; });
  }
  bool comesToLack(const std::string& command, const std::string& text) {
    return eventually([&] { return ask(command).find(text) == std::string::npos; });
  }
  bool hasClients(int count) { return comesToHold("clients", std::to_string(count) + '\n'); }
  /// The values that a reader got: how many, and the last one with its time stamp.
  std::pair<long, std::string> got(const std::string& label) {
    const std::string answer = ask("got " + label);
    const std::size_t blank = answer.find(' ');
    return {std::stol(answer), blank == std::string::npos ? "" : answer.substr(blank + 1)};
  }
  /// Shows the images of a peer's slot at "v", and waits for the first of them.
  bool view(const std::string& slot) {
    ask("view v");
    ask("route " + slot + " v");
    return eventually([&] { return got("v").first > 3; });
  }
  /// The port that the node listens on.
  std::string port() {
    std::string state;
    EXPECT_TRUE(eventually([&] {
      state = ask("state");
      return state.find("listening") != std::string::npos;
    }));
    return state.substr(state.rfind(':') + 1, state.size() - state.rfind(':') - 2);
  }
  /// Lets it call `exit` without taking anything apart, and returns its exit status.
  int exit() {
    ask("exit");
    return reap();
  }
  /// Ends it in order, and returns its exit status.
  int quit() {
    to_ = Pelorn::Descriptor();
    return reap();
  }
  void kill(int signal) {
    if (pid_ <= 0)
      return;
    ::kill(pid_, signal);
    if (signal == SIGKILL)
      reap();
  }

private:
  int reap() {
    int status = 0;
    if (pid_ > 0)
      waitpid(std::exchange(pid_, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  pid_t pid_ = -1;
  Pelorn::Descriptor to_;
  Pelorn::Descriptor from_;
};

/// A value of A goes through B, which passes what comes from A on at a slot of its own, to C, all with its time stamp.
inline void expectChain(PeerProcess& a, PeerProcess& b, PeerProcess& c) {
  a.ask("out x");
  b.ask("out y");
  b.ask("in in y"); // what comes in goes out at y
  b.ask("route A/x in");
  c.ask("in z");
  c.ask("route B/y z");
  ASSERT_TRUE(b.comesToHold("slots", "A/x"));
  ASSERT_TRUE(c.comesToHold("slots", "B/y"));
  a.ask("push x value 123456789012");
  EXPECT_TRUE(c.comesToHold("got z", "123456789012 value"));
}

} // namespace test
