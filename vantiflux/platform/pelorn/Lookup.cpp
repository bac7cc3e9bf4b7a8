#include <vantiflux/platform/pelorn/Lookup.h>

#include <arpa/inet.h>
#include <atomic>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <poll.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

namespace {

constexpr int maxLookups = 16;
std::atomic<int> running{0};

/// A result on its way from the look-up's thread to him who waits; whichever of the two lets go last deletes it.
template <class Result>
struct Job {
  Notifier done;
  std::mutex mutex; // guards result
  Result result;
};

/// Runs `work` on a thread of its own and waits for its result; a default result when it does not come.
template <class Result, class Work>
Result inBackground(Work work, const Deadline& deadline, const Notifier* stop) try {
  if (running.fetch_add(1) >= maxLookups) {
    --running;
    return {};
  }
  auto job = std::make_shared<Job<Result>>();
  try {
    std::thread([job, work = std::move(work)] {
      Result found = work();
      {
        const std::lock_guard lock(job->mutex);
        job->result = std::move(found);
      }
      job->done.signal();
      --running;
    }).detach();
  } catch (...) {
    --running;
    throw;
  }
  pollfd entries[] = {{job->done.descriptor(), POLLIN, 0}, {stop ? stop->descriptor() : -1, POLLIN, 0}};
  pollUntil(entries, 2, deadline);
  const std::lock_guard lock(job->mutex);
  return std::move(job->result);
} catch (const IOException&) {
  return {};
} catch (const std::system_error&) { // no thread to be had
  return {};
}

InetAddress resolve(const std::string& name) {
  addrinfo hints{};
  hints.ai_family = AF_INET;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &list) != 0)
    return {};
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(list, ::freeaddrinfo);
  if (!list || list->ai_addrlen < sizeof(sockaddr_in))
    return {};
  return SocketAddress(*reinterpret_cast<const sockaddr_in*>(list->ai_addr)).getAddress();
}

std::string reverse(const InetAddress& address) {
  const sockaddr_in native = SocketAddress(address, 0).native();
  char name[NI_MAXHOST] = "";
  if (::getnameinfo(reinterpret_cast<const sockaddr*>(&native), sizeof native, name, sizeof name, nullptr, 0,
                    NI_NAMEREQD) != 0)
    return {};
  return name;
}

} // namespace

InetAddress lookUpAddress(const std::string& name, const Deadline& deadline, const Notifier* stop) {
  if (name.empty() || name.size() > NI_MAXHOST || name.find('\0') != std::string::npos)
    return {};
  in_addr native{};
  if (::inet_pton(AF_INET, name.c_str(), &native) == 1)
    return InetAddress(ntohl(native.s_addr));
  // The system would make something of an incomplete number.
  if (name.find_first_not_of("0123456789.") == std::string::npos)
    return {};
  return inBackground<InetAddress>([name] { return resolve(name); }, deadline, stop);
}

std::string lookUpName(const InetAddress& address, const Deadline& deadline) {
  return inBackground<std::string>([address] { return reverse(address); }, deadline, nullptr);
}

} // namespace Pelorn
