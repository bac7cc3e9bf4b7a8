#pragma once

#include <array>
#include <cstdio>
#include <iostream>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <platform/support.h>
#include <vantiflux/platform/pelorn/Descriptor.h>

namespace test {

/// What this process prints on its standard output while this exists. When the test has failed, it is printed after
/// all.
class Printed {
public:
  Printed() : file_(::memfd_create("printed", MFD_CLOEXEC)) {
    flush();
    before_ = Pelorn::Descriptor(::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3));
    EXPECT_EQ(::dup2(file_.get(), STDOUT_FILENO), STDOUT_FILENO);
  }
  ~Printed() {
    flush();
    EXPECT_EQ(::dup2(before_.get(), STDOUT_FILENO), STDOUT_FILENO);
    if (testing::Test::HasFailure())
      std::cout << text() << std::flush;
  }
  Printed(const Printed&) = delete;
  Printed& operator=(const Printed&) = delete;

  /// So far.
  std::string text() const {
    std::string all;
    std::array<char, 65536> part; // NOLINT: filled before it is read
    for (ssize_t size = 0; (size = ::pread(file_.get(), part.data(), part.size(), static_cast<off_t>(all.size()))) > 0;)
      all.append(part.data(), static_cast<std::size_t>(size));
    return all;
  }
  /// Whether this comes to be printed.
  bool comes(const std::string& words) const {
    return eventually([&] { return text().find(words) != std::string::npos; });
  }

private:
  static void flush() {
    std::cout << std::flush;
    std::fflush(stdout);
  }
  Pelorn::Descriptor file_;
  Pelorn::Descriptor before_;
};

} // namespace test
