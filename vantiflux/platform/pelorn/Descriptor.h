#pragma once

#include <unistd.h>
#include <utility>

namespace Pelorn {

/// Sole owner of a file descriptor, which it closes at its end. -1 stands for none.
class Descriptor {
public:
  Descriptor() noexcept = default;
  explicit Descriptor(int fd) noexcept : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor() {
    if (fd_ >= 0)
      ::close(fd_);
  }

  int get() const noexcept { return fd_; }
  /// Gives the descriptor up to the caller.
  int release() noexcept { return std::exchange(fd_, -1); }
  explicit operator bool() const noexcept { return fd_ >= 0; }

private:
  int fd_ = -1;
};

} // namespace Pelorn
