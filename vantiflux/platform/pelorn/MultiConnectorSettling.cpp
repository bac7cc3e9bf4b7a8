// How two peers come to have one connection.
#include <vantiflux/platform/pelorn/MultiConnector.h>

#include <algorithm>
#include <memory>

namespace Pelorn {

namespace {

constexpr int verdictTime = 1000;

} // namespace

// The server behind this connection is connected already, or need not be: it is not tried again.
void MultiConnector::shareServer(std::uint64_t instance, const Communicator& communicator) {
  const std::lock_guard lock(linksLock_);
  const Link* const link = find(communicator);
  if (link == nullptr)
    return;
  const auto addTo = [link](std::vector<Server>& servers) {
    for (const Server& server : link->servers)
      if (std::find(servers.begin(), servers.end(), server) == servers.end())
        servers.push_back(server);
  };
  if (instance == instance_)
    addTo(thisServer_);
  for (auto& [number, other] : links_)
    if (&other != link && other.instance == instance)
      addTo(other.servers);
}

void MultiConnector::introduce(HelloEvent& hello) const {
  const std::lock_guard lock(linksLock_);
  hello.setLink(instance_, opened_.id);
}

// Gives the connection to this peer, unless there is another one; with `replace`, that one goes.
bool MultiConnector::claim(std::uint64_t instance, const Communicator& communicator, bool replace) {
  const std::lock_guard lock(linksLock_);
  Link* const link = find(communicator);
  if (link == nullptr)
    return false;
  for (auto& [number, other] : links_)
    if (&other != link && other.instance == instance && other.communicator->isOpen()) {
      if (!replace)
        return false;
      other.instance = 0;
      other.communicator->close();
    }
  link->instance = instance;
  return true;
}

MultiConnector::Settled MultiConnector::settle(Communicator& communicator, const HelloEvent& hello) {
  std::uint64_t own = 0;
  short id = 0;
  {
    const std::lock_guard lock(linksLock_);
    own = instance_;
    id = opened_.id;
  }
  const auto drop = [&](Settled reason) {
    shareServer(hello.getInstance(), communicator);
    return reason;
  };
  if (hello.getInstance() == own)
    return drop(Settled::IsThisOne);
  if (hello.getId() != id)
    return Settled::HasOtherId;
  if (own < hello.getInstance()) {
    const bool stays = claim(hello.getInstance(), communicator, false);
    const bool sent = VerdictEvent(stays).send(&communicator);
    return !stays ? drop(Settled::IsDuplicate) : sent ? Settled::Stays : Settled::Failed;
  }
  std::unique_ptr<Event> event;
  if (communicator.waitForEvent(verdictTime) != WaitResult::Data || !Event::receive(&communicator, event))
    return Settled::Failed;
  const auto* const verdict = dynamic_cast<const VerdictEvent*>(event.get());
  if (verdict == nullptr)
    return Settled::Failed;
  if (!verdict->stays())
    return drop(Settled::IsDuplicate);
  return claim(hello.getInstance(), communicator, true) ? Settled::Stays : Settled::Failed;
}

} // namespace Pelorn
