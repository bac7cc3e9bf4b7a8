#include <vantiflux/platform/tarsil/SysInfo.h>

#include <algorithm>
#include <array>
#include <pwd.h>
#include <sched.h>
#include <sys/utsname.h>
#include <thread>
#include <unistd.h>

namespace Tarsil {

namespace {

std::string userName() {
  std::array<char, 16384> buffer{};
  passwd entry{};
  passwd* found = nullptr;
  const uid_t user = ::geteuid();
  if (::getpwuid_r(user, &entry, buffer.data(), buffer.size(), &found) == 0 && found)
    return found->pw_name;
  return std::to_string(user);
}

unsigned usableProcessors() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (::sched_getaffinity(0, sizeof set, &set) == 0)
    return std::max(1U, static_cast<unsigned>(CPU_COUNT(&set)));
  return std::max(1U, std::thread::hardware_concurrency());
}

} // namespace

const SysInfo& SysInfo::the() {
  // Never destroyed: it is used while the process ends.
  static const SysInfo* const info = new SysInfo;
  return *info;
}

SysInfo::SysInfo() : user_(userName()), processors_(usableProcessors()) {
  utsname names{};
  if (::uname(&names) == 0) {
    host_ = names.nodename;
    system_ = std::string(names.sysname) + " " + names.release + " " + names.machine;
  } else {
    host_ = "localhost";
    system_ = "Linux";
  }
}

int SysInfo::getProcessId() const noexcept {
  return ::getpid();
}

} // namespace Tarsil
