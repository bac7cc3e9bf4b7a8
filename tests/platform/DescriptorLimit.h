#pragma once

#include <algorithm>

#include <sys/resource.h>

namespace test {

/// For the length of a scope, as many descriptors as a test asks for.
class DescriptorLimit {
public:
  DescriptorLimit() { getrlimit(RLIMIT_NOFILE, &before_); }
  ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;
  bool set(rlim_t count) const {
    rlimit wanted = before_;
    wanted.rlim_cur = std::min(count, before_.rlim_max);
    return setrlimit(RLIMIT_NOFILE, &wanted) == 0 && wanted.rlim_cur == count;
  }

private:
  rlimit before_{};
};

} // namespace test
