#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

/// The words of a program that does not outlive this one, however it ends.
inline std::vector<std::string> mortal(std::vector<std::string> words) {
  words.insert(words.begin(), {"/usr/bin/setpriv", "--pdeathsig", "KILL"});
  return words;
}

/// A program that was started with its standard output and standard error in pipes.
class Process {
public:
  /// In place of the pipe, the standard output may lead elsewhere; the standard input may come from elsewhere.
  explicit Process(std::vector<std::string> words, int output = -1, int input = -1) {
    std::array<int, 2> out{};
    std::array<int, 2> err{};
    if (pipe2(out.data(), O_CLOEXEC) != 0 || pipe2(err.data(), O_CLOEXEC) != 0)
      std::abort();
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output >= 0 ? output : out[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, err[1], STDERR_FILENO);
    if (input >= 0)
      posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    std::vector<char*> arguments;
    for (std::string& word : words)
      arguments.push_back(word.data());
    arguments.push_back(nullptr);
    if (posix_spawn(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
      std::abort();
    posix_spawn_file_actions_destroy(&actions);
    close(out[1]);
    close(err[1]);
    out_ = out[0];
    err_ = err[0];
  }
  ~Process() {
    closeOutput();
    close(err_);
    if (!ended_) {
      kill(pid_, SIGKILL);
      wait();
    }
  }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  /// The next line of the output with its end; what there is at the end of the output, or when no more comes for long.
  std::string readLine() { return readLineOf(out_); }
  std::string readErrorLine() { return readLineOf(err_); }
  std::string output() { return readAll(out_); }
  std::string errors() { return readAll(err_); }
  void signal(int number) const { kill(pid_, number); }
  void closeOutput() {
    if (out_ >= 0)
      close(out_);
    out_ = -1;
  }

  /// The exit status, or the negative number of the signal that ended it. It is killed if it goes on for that long.
  int wait(std::chrono::seconds limit = std::chrono::seconds(120)) {
    int status = 0;
    const auto end = std::chrono::steady_clock::now() + limit;
    while (waitpid(pid_, &status, WNOHANG) == 0) {
      if (std::chrono::steady_clock::now() > end)
        kill(pid_, SIGKILL);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    ended_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

private:
  static std::string readLineOf(int fd) {
    std::string line;
    pollfd entry{fd, POLLIN, 0};
    for (char c = 0; c != '\n' && poll(&entry, 1, 60000) == 1 && read(fd, &c, 1) == 1;)
      line += c;
    return line;
  }
  static std::string readAll(int fd) {
    std::string all;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = read(fd, part.data(), part.size())) > 0;)
      all.append(part.data(), static_cast<std::size_t>(size));
    return all;
  }

  pid_t pid_ = -1;
  int out_ = -1;
  int err_ = -1;
  bool ended_ = false;
};

} // namespace test
