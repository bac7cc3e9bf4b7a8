#include <vantiflux/platform/pelorn/Discovery.h>

#include <utility>

namespace Pelorn {

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

constexpr milliseconds firstInterval{200};
constexpr int quickOnes = 2;
constexpr seconds interval{2};
constexpr milliseconds patience{1500};
constexpr seconds attemptInterval{1};

// Whoever sends datagrams can invent peers: only so many are remembered, and not for longer than this.
constexpr std::size_t maxHeard = 1024;
constexpr seconds forgottenAfter{6};
constexpr int datagramsInARow = 64;

} // namespace

Discovery::Discovery(const SocketAddress& group, int ttl, const InetAddress& local, Announcement own, Links links)
    : own_(std::move(own)), links_(std::move(links)), socket_(group, ttl, local) {}

Discovery::Clock::time_point Discovery::tick(Clock::time_point now) {
  if (now < next_)
    return next_;
  socket_.refresh();
  socket_.sendToGroup(own_.encode());
  next_ = now + (announced_ < quickOnes ? firstInterval : milliseconds(interval));
  ++announced_;
  std::erase_if(heard_, [&](const auto& entry) { return now - entry.second.last > forgottenAfter; });
  return next_;
}

void Discovery::hear(Clock::time_point now) {
  std::array<char, Announcement::maxSize> bytes{};
  SocketAddress from;
  for (int i = 0; i < datagramsInARow; ++i) {
    const int size = socket_.receive(bytes.data(), static_cast<int>(bytes.size()), from);
    if (size < 0)
      return;
    if (const auto heard = Announcement::decode({bytes.data(), static_cast<std::size_t>(size)}))
      consider(*heard, from, now);
  }
}

void Discovery::consider(const Announcement& heard, const SocketAddress& from, Clock::time_point now) {
  if (heard.protocol != own_.protocol || heard.instance == own_.instance)
    return;
  const auto answer = [&] {
    if (heard.kind != Announcement::Kind::Announcement)
      return;
    Announcement reply = own_;
    reply.kind = Announcement::Kind::Answer;
    socket_.sendTo(reply.encode(), from);
  };
  if (heard.port == 0) // somebody who looks around
    return answer();
  if (heard.major != own_.major || heard.id != own_.id || own_.port == 0)
    return;
  if (links_.exists(heard.instance)) {
    heard_.erase(heard.instance);
    return;
  }
  Heard* const known = remember(heard.instance, now);
  if (known == nullptr)
    return;
  const bool first = own_.instance < heard.instance;
  if (!first)
    answer();
  if (now < known->nextAttempt || (!first && now - known->first < patience))
    return;
  known->nextAttempt = now + attemptInterval;
  links_.make(heard.instance, SocketAddress(from.getAddress(), heard.port));
}

Discovery::Heard* Discovery::remember(std::uint64_t instance, Clock::time_point now) {
  const auto found = heard_.find(instance);
  if (found == heard_.end() && heard_.size() >= maxHeard)
    return nullptr;
  Heard& known = heard_.try_emplace(instance, Heard{now, now, now}).first->second;
  known.last = now;
  return &known;
}

} // namespace Pelorn
