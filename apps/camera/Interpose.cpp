// Simulated cameras in the place of /dev/video*: a library to be preloaded. It stands between a program and the C
// library in the calls that reach a capture device; all other files pass through. What the cameras are like is said by
// the variable VANTIFLUX_CAMERAS (see Settings.h). Each process has cameras of its own; real capture devices are
// hidden. Programs that make bare system calls, or open a device by openat, are not reached.
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include "Control.h"
#include "Device.h"

namespace Camera {

namespace {

class Registry;
Registry& registry();

/// The cameras, and who has them open. Never destroyed: threads may still use a camera when the process ends.
class Registry {
public:
  Registry() {
    // A process that forks while a camera streams may close its descriptors in the child.
    ::pthread_atfork([] { registry().lock.lock(); }, [] { registry().lock.unlock(); },
                     [] { registry().lock.unlock(); });
    const char* const text = std::getenv("VANTIFLUX_CAMERAS");
    if (!configure(text == nullptr ? "" : text))
      std::fprintf(stderr, "VANTIFLUX_CAMERAS: %s\n", trouble_.c_str());
  }

  bool configure(const char* text) {
    std::vector<Settings> cameras;
    try {
      cameras = parseCameras(text);
    } catch (const std::invalid_argument& error) {
      trouble_ = error.what();
      return false;
    }
    for (const auto& [fd, opening] : openings_)
      opening->unplug();
    devices_.clear();
    for (Settings& settings : cameras)
      devices_.push_back(std::make_shared<Device>(std::move(settings)));
    return true;
  }

  std::shared_ptr<Device> device(unsigned long number) const {
    const bool present = number < devices_.size() && !devices_[number]->settings.absent;
    return present ? devices_[number] : nullptr;
  }
  std::shared_ptr<Opening> opening(int fd) const {
    const auto found = openings_.find(fd);
    return found == openings_.end() ? nullptr : found->second;
  }
  void add(int fd, std::shared_ptr<Opening> opening) { openings_[fd] = std::move(opening); }
  void remove(int fd) { openings_.erase(fd); }

  template <class Visit>
  void forEachOpening(unsigned long number, Visit&& visit) const {
    for (const auto& [fd, opening] : openings_)
      if (number < devices_.size() && &opening->device() == devices_[number].get())
        visit(*opening);
  }

  std::mutex lock; ///< guards all of this, the devices and their openings

private:
  std::vector<std::shared_ptr<Device>> devices_;
  std::map<int, std::shared_ptr<Opening>> openings_;
  std::string trouble_;
};

Registry& registry() {
  static Registry& the = *new Registry;
  return the;
}

// Which descriptors are cameras, so that the calls on all others cost next to nothing.
constexpr int descriptorLimit = 65536;
std::array<std::atomic<bool>, descriptorLimit> isCamera{};

bool isOurs(int fd) {
  return fd >= 0 && fd < descriptorLimit && isCamera[static_cast<std::size_t>(fd)].load(std::memory_order_acquire);
}

/// A function that this library stands before. Found at its first call, which may come before any constructor has run,
/// and before a sanitizer is ready for anything but the function itself: so there is no guarded static here.
template <class Function>
class Next {
public:
  constexpr explicit Next(const char* name) : name_(name) {}

  template <class... Arguments>
  auto operator()(Arguments... arguments) {
    Function* function = found_.load(std::memory_order_relaxed);
    if (function == nullptr) {
      function = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name_));
      found_.store(function, std::memory_order_relaxed);
    }
    return function(arguments...);
  }

private:
  const char* const name_;
  std::atomic<Function*> found_{nullptr};
};

constinit Next<int(const char*, int, ...)> realOpen("open");
constinit Next<int(int)> realClose("close");
constinit Next<int(int, unsigned long, ...)> realControl("ioctl");
constinit Next<void*(void*, std::size_t, int, int, int, off_t)> realMap("mmap");
constinit Next<int(pollfd*, nfds_t, int)> realPoll("poll");
constinit Next<ssize_t(int, void*, std::size_t)> realRead("read");

int fail(int error) {
  errno = error;
  return -1;
}

// The number in "/dev/videoN"; false for all other paths.
bool isVideoPath(const char* path, unsigned long& number) {
  constexpr const char* prefix = "/dev/video";
  if (path == nullptr || std::strncmp(path, prefix, std::strlen(prefix)) != 0)
    return false;
  const char* const digits = path + std::strlen(prefix);
  if (*digits < '0' || *digits > '9')
    return false;
  char* end = nullptr;
  number = std::strtoul(digits, &end, 10);
  return *end == '\0';
}

int openCamera(unsigned long number, int flags) {
  Registry& all = registry();
  const std::lock_guard guard(all.lock);
  const std::shared_ptr<Device> device = all.device(number);
  if (device == nullptr)
    return fail(ENOENT);
  if (device->fails("OPEN", device->opens))
    return fail(EBUSY);
  const int fd = ::timerfd_create(CLOCK_MONOTONIC, ((flags & O_NONBLOCK) != 0 ? TFD_NONBLOCK : 0) |
                                                       ((flags & O_CLOEXEC) != 0 ? TFD_CLOEXEC : 0));
  if (fd < 0)
    return -1;
  if (fd >= descriptorLimit) {
    ::close(fd);
    return fail(EMFILE);
  }
  all.add(fd, std::make_shared<Opening>(device, fd));
  isCamera[static_cast<std::size_t>(fd)].store(true, std::memory_order_release);
  return fd;
}

int openFile(const char* path, int flags, mode_t mode) {
  unsigned long number = 0;
  return isVideoPath(path, number) ? openCamera(number, flags) : realOpen(path, flags, mode);
}

mode_t modeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | __O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

/// Runs an operation on an open camera, and repeats it while there is no frame and the caller is ready to wait.
template <class Operation>
int onCamera(int fd, Operation&& operation) {
  Registry& all = registry();
  for (;;) {
    {
      const std::lock_guard guard(all.lock);
      const std::shared_ptr<Opening> opening = all.opening(fd);
      if (opening == nullptr)
        return fail(EBADF);
      const int error = operation(*opening);
      if (error == 0)
        return 0;
      if (error != EAGAIN || (::fcntl(fd, F_GETFL) & O_NONBLOCK) != 0)
        return fail(error);
    }
    pollfd tick{fd, POLLIN, 0};
    if (realPoll(&tick, nfds_t{1}, -1) < 0)
      return -1;
  }
}

// What is wrong with a camera, as `poll` tells it; 0 if nothing is. Counts a call, if this is one.
short troubleOf(int fd, bool isCall, bool& fails) {
  Registry& all = registry();
  const std::lock_guard guard(all.lock);
  const std::shared_ptr<Opening> opening = all.opening(fd);
  if (opening == nullptr)
    return POLLNVAL;
  if (isCall && opening->fails("POLL"))
    fails = true;
  if (opening->isGone())
    return POLLERR | POLLHUP;
  return opening->isStreaming() || opening->device().settings.readOnly ? 0 : POLLERR;
}

int pollFiles(pollfd* entries, nfds_t count, int timeout) {
  bool fails = false;
  for (nfds_t i = 0; i < count; ++i)
    if (isOurs(entries[i].fd) && troubleOf(entries[i].fd, true, fails) != 0)
      timeout = 0;
  if (fails)
    return fail(EIO);
  if (realPoll(entries, count, timeout) < 0)
    return -1;
  int ready = 0;
  for (nfds_t i = 0; i < count; ++i) {
    if (isOurs(entries[i].fd))
      if (const short trouble = troubleOf(entries[i].fd, false, fails))
        entries[i].revents = trouble;
    ready += entries[i].revents != 0 ? 1 : 0;
  }
  return ready;
}

ssize_t readFile(int fd, void* buffer, std::size_t size) {
  if (!isOurs(fd))
    return realRead(fd, buffer, size);
  std::size_t count = 0;
  return onCamera(fd, [&](Opening& opening) { return opening.read(buffer, size, count); }) < 0
             ? -1
             : static_cast<ssize_t>(count);
}

void* mapFile(void* address, std::size_t length, int protection, int flags, int fd, off_t offset) {
  if (!isOurs(fd))
    return realMap(address, length, protection, flags, fd, offset);
  int memory = -1;
  const int found = onCamera(fd, [&](Opening& opening) {
    return opening.isGone() ? ENODEV : opening.fails("MMAP") ? ENOMEM : opening.findBuffer(length, offset, memory);
  });
  return found < 0 ? MAP_FAILED : realMap(address, length, protection, flags, memory, offset);
}

} // namespace

} // namespace Camera

// NOLINTBEGIN(bugprone-reserved-identifier): the names of the C library's own entry points
#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED int open(const char* file, int oflag, ...) {
  va_list arguments;
  va_start(arguments, oflag);
  const mode_t mode = Camera::modeOf(oflag, arguments);
  va_end(arguments);
  return Camera::openFile(file, oflag, mode);
}

EXPORTED int open64(const char* file, int oflag, ...) {
  va_list arguments;
  va_start(arguments, oflag);
  const mode_t mode = Camera::modeOf(oflag, arguments);
  va_end(arguments);
  return Camera::openFile(file, oflag, mode);
}

EXPORTED int __open_2(const char* path, int flags) {
  return Camera::openFile(path, flags, 0);
}

EXPORTED int __open64_2(const char* path, int flags) {
  return Camera::openFile(path, flags, 0);
}

EXPORTED int close(int fd) {
  if (Camera::isOurs(fd)) {
    Camera::Registry& all = Camera::registry();
    const std::lock_guard guard(all.lock);
    Camera::isCamera[static_cast<std::size_t>(fd)].store(false, std::memory_order_release);
    all.remove(fd);
  }
  return Camera::realClose(fd);
}

EXPORTED int ioctl(int fd, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void* const argument = va_arg(arguments, void*);
  va_end(arguments);
  if (!Camera::isOurs(fd))
    return Camera::realControl(fd, request, argument);
  // Requests have 32 bits; some callers extend their sign.
  return Camera::onCamera(fd,
                          [&](Camera::Opening& opening) { return opening.request(request & 0xffffffff, argument); });
}

EXPORTED void* mmap(void* addr, size_t len, int prot, int flags, int fd, off_t offset) noexcept {
  return Camera::mapFile(addr, len, prot, flags, fd, offset);
}

EXPORTED void* mmap64(void* addr, size_t len, int prot, int flags, int fd, off64_t offset) noexcept {
  return Camera::mapFile(addr, len, prot, flags, fd, offset);
}

EXPORTED int poll(pollfd* fds, nfds_t nfds, int timeout) {
  return Camera::pollFiles(fds, nfds, timeout);
}

EXPORTED int __poll_chk(pollfd* entries, nfds_t count, int timeout, size_t /*size*/) {
  return Camera::pollFiles(entries, count, timeout);
}

EXPORTED ssize_t read(int fd, void* buf, size_t nbytes) {
  return Camera::readFile(fd, buf, nbytes);
}

EXPORTED ssize_t __read_chk(int fd, void* buffer, size_t size, size_t /*capacity*/) {
  return Camera::readFile(fd, buffer, size);
}

EXPORTED int vantiflux_cameras_configure(const char* text) {
  Camera::Registry& all = Camera::registry();
  const std::lock_guard guard(all.lock);
  return all.configure(text) ? 0 : -1;
}

EXPORTED void vantiflux_camera_unplug(unsigned number) {
  Camera::Registry& all = Camera::registry();
  const std::lock_guard guard(all.lock);
  all.forEachOpening(number, [](Camera::Opening& opening) { opening.unplug(); });
}

EXPORTED unsigned vantiflux_camera_calls(unsigned number, const char* request) {
  Camera::Registry& all = Camera::registry();
  const std::lock_guard guard(all.lock);
  const auto device = all.device(number);
  return device == nullptr ? 0 : device->calls[request];
}

EXPORTED unsigned vantiflux_camera_openings(unsigned number) {
  Camera::Registry& all = Camera::registry();
  const std::lock_guard guard(all.lock);
  unsigned count = 0;
  all.forEachOpening(number, [&](const Camera::Opening&) { ++count; });
  return count;
}
}
// NOLINTEND(bugprone-reserved-identifier)
