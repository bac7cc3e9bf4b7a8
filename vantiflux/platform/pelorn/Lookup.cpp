#include <vantiflux/platform/pelorn/Lookup.h>

#include <arpa/inet.h>
#include <cstdint>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <poll.h>
#include <thread>
#include <utility>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/SocketAddress.h>

namespace Pelorn {

namespace {

/// Look-ups of one kind that are under way, each on a thread of its own. Never destroyed: such a thread may outlast the
/// statics of the process.
template <class Key, class Result>
class Lookups {
public:
  using Work = Result (*)(const Key&);

  /// `patience` is how long a look-up is waited for altogether, whoever asks, in milliseconds; negative: no limit.
  Lookups(Work work, int patience) : work_(work), patience_(patience) {}

  /// The result, or a default one when it does not come.
  Result find(const Key& key, const Deadline& deadline, const Notifier* stop) {
    std::shared_ptr<Job> job;
    try {
      job = join(key);
    } catch (const std::exception&) { // no memory, thread or descriptor to be had
    }
    if (!job)
      return {};
    pollfd entries[] = {{job->done.descriptor(), POLLIN, 0}, {stop ? stop->descriptor() : -1, POLLIN, 0}};
    pollUntil(entries, 2, Deadline::earlier(deadline, job->patience));
    const std::lock_guard lock(job->mutex);
    return job->result;
  }

private:
  /// What the look-up's thread shares with those who wait; whoever lets go last deletes it.
  struct Job {
    explicit Job(int milliseconds) : patience(milliseconds) {}
    Notifier done;
    const Deadline patience;
    std::mutex mutex; // guards result
    Result result;
  };

  /// The look-up that is under way, or a new one; null if there are too many.
  std::shared_ptr<Job> join(const Key& key) {
    const std::lock_guard lock(mutex_);
    if (const auto found = running_.find(key); found != running_.end())
      return found->second;
    if (running_.size() >= maxRunning)
      return nullptr;
    auto job = std::make_shared<Job>(patience_);
    const auto entry = running_.emplace(key, job).first;
    try {
      std::thread([this, job, entry] { run(*job, entry); }).detach();
    } catch (...) {
      running_.erase(entry);
      throw;
    }
    return job;
  }

  using Running = std::map<Key, std::shared_ptr<Job>>;

  void run(Job& job, typename Running::iterator entry) noexcept {
    try {
      Result found = work_(entry->first);
      const std::lock_guard lock(job.mutex);
      job.result = std::move(found);
    } catch (...) { // no memory: as if there were no result
    }
    {
      const std::lock_guard lock(mutex_);
      running_.erase(entry);
    }
    job.done.signal();
  }

  static constexpr std::size_t maxRunning = 16;

  const Work work_;
  const int patience_;
  std::mutex mutex_; // guards running_
  Running running_;
};

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

std::string reverse(const std::uint32_t& address) {
  const sockaddr_in native = SocketAddress(InetAddress(address), 0).native();
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
  static auto& lookups = *new Lookups<std::string, InetAddress>(resolve, -1);
  return lookups.find(name, deadline, stop);
}

std::string lookUpName(const InetAddress& address, const Notifier* stop) {
  static auto& lookups = *new Lookups<std::uint32_t, std::string>(reverse, 500);
  return lookups.find(address.getAddress(), Deadline(-1), stop);
}

} // namespace Pelorn
