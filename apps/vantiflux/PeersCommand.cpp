#include "PeersCommand.h"

#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <sstream>

#include <poll.h>

#include <vantiflux/platform/pelorn/Announcement.h>
#include <vantiflux/platform/pelorn/Communicator.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/HelloEvent.h>
#include <vantiflux/platform/pelorn/MulticastSocket.h>

#include "Printable.h"

namespace Host {

namespace {

using Pelorn::Announcement;
using Pelorn::InetAddress;
using Pelorn::SocketAddress;

constexpr int askEvery = 1000;
constexpr int connectTime = 5000;
constexpr int helloTime = 2000;

struct Found {
  SocketAddress server;
  Announcement announcement;
};

struct Heard {
  std::map<std::uint64_t, Found> peers; ///< by instance
  bool own = false;                     ///< what was sent came back
  int taken = 0;                        ///< interfaces that took what was sent, at best
};

InetAddress lookUp(const std::string& name) {
  const InetAddress address = name.empty() ? InetAddress::any() : InetAddress::getByName(name);
  if (!address.isValid())
    throw Pelorn::Exception("Unknown host \"" + name + "\"");
  return address;
}

void take(Pelorn::MulticastSocket& socket, const Announcement& own, Heard& heard) {
  std::array<char, Announcement::maxSize> bytes{};
  SocketAddress from;
  constexpr int datagramsInARow = 256;
  constexpr std::size_t mostPeers = 4096;
  for (int count = 0; count < datagramsInARow; ++count) {
    const int size = socket.receive(bytes.data(), static_cast<int>(bytes.size()), from);
    if (size < 0)
      return;
    const auto found = Announcement::decode({bytes.data(), static_cast<std::size_t>(size)});
    if (!found.has_value() || found->protocol != own.protocol)
      continue;
    if (found->instance == own.instance)
      heard.own = true;
    else if (found->port != 0 && heard.peers.size() < mostPeers)
      heard.peers.insert_or_assign(found->instance, Found{SocketAddress(from.getAddress(), found->port), *found});
  }
}

// Asks who is there, and takes the answers.
Heard listen(Pelorn::MulticastSocket& socket, int seconds) {
  Announcement own;
  own.protocol = "Vantiflux";
  own.major = 2;
  std::random_device random;
  own.instance = std::uniform_int_distribution<std::uint64_t>()(random);
  Heard heard;
  const Pelorn::Deadline end(seconds * 1000);
  while (end.remaining() > 0) {
    socket.refresh();
    heard.taken = std::max(heard.taken, socket.sendToGroup(own.encode()));
    const Pelorn::Deadline again(std::min(askEvery, end.remaining()));
    while (again.remaining() > 0) {
      std::array<pollfd, 2> entries{{{socket.groupDescriptor(), POLLIN, 0}, {socket.ownDescriptor(), POLLIN, 0}}};
      Pelorn::pollUntil(entries.data(), entries.size(), again);
      take(socket, own, heard);
    }
  }
  return heard;
}

void diagnose(std::ostream& stream, const Pelorn::MulticastSocket& socket, const Heard& heard,
              const PeersOptions& options) {
  stream << "Nobody was heard on " << options.group << ':' << options.port << " within " << options.seconds << " s.\n";
  if (socket.interfaces().empty())
    stream << "There is no network interface that is up"
           << (options.address.empty() ? "" : " and has the address " + options.address) << ".\n";
  for (const Pelorn::NetworkInterface& interface : socket.interfaces())
    stream << "Tried interface " << interface.name << " (" << interface.address.getHostAddress() << ").\n";
  if (heard.taken == 0)
    stream << "No interface takes packets for the group: is there a route to it?\n";
  else if (!heard.own)
    stream << "Packets for the group do not even come back to this host: does a firewall drop them?\n";
  else
    stream << "Packets for the group come back to this host, so sending and hearing work here. On the way to others, a "
              "TTL (here "
           << options.ttl
           << ") that is too small, a switch or a firewall may stop them; or nobody uses this group, interface or "
              "port.\n";
}

struct Server {
  std::string host;
  std::uint16_t port;
};

Server parseServer(const std::string& text) {
  const std::size_t colon = text.rfind(':');
  const std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
  if (digits.empty() || digits.size() > 5 || digits.find_first_not_of("0123456789") != std::string::npos ||
      std::stoi(digits) > std::numeric_limits<std::uint16_t>::max())
    throw Pelorn::Exception("\"" + text + "\" is no host:port");
  return {text.substr(0, colon), static_cast<std::uint16_t>(std::stoi(digits))};
}

bool tryServer(std::ostream& stream, const std::string& server) {
  const auto [host, port] = parseServer(server);
  auto socket = std::make_unique<Pelorn::LinkSocket>();
  try {
    socket->connect(host, port, connectTime);
  } catch (const Pelorn::IOException& error) {
    stream << error.what() << ".\n";
    return false;
  }
  const auto peer = std::make_shared<Pelorn::Communicator>(std::move(socket), [](Pelorn::Communicator&) {});
  Pelorn::HelloEvent("Vantiflux", "vantiflux peers", 2, 0).send(peer.get());
  std::unique_ptr<Pelorn::Event> event;
  if (peer->waitForEvent(helloTime) == Pelorn::WaitResult::Data)
    Pelorn::Event::receive(peer.get(), event);
  const auto* const hello = dynamic_cast<const Pelorn::HelloEvent*>(event.get());
  if (hello == nullptr) {
    stream << server << " takes connections but does not introduce itself: it is no network node.\n";
    return false;
  }
  stream << server << " is " << printable(hello->getUser() + "@" + hello->getHost()) << ", protocol "
         << printable(hello->getProtocol()) << ' ' << hello->getMajor() << '.' << hello->getMinor() << ", ID "
         << hello->getId() << ".\n";
  return true;
}

} // namespace

Peers findPeers(const PeersOptions& options) {
  if (!options.server.empty())
    parseServer(options.server); // it complains before anybody waits
  const InetAddress local = lookUp(options.address);
  Pelorn::MulticastSocket socket(SocketAddress(lookUp(options.group), options.port), options.ttl, local);
  const Heard heard = listen(socket, options.seconds);
  std::ostringstream stream;
  for (const auto& [instance, peer] : heard.peers)
    stream << peer.server.getHostAddress() << '\t' << peer.server.getServicePort() << '\t' << peer.announcement.id
           << '\t' << peer.announcement.major << '.' << peer.announcement.minor << '\n';
  bool any = !heard.peers.empty();
  if (!any)
    diagnose(stream, socket, heard, options);
  if (!options.server.empty())
    any = tryServer(stream, options.server) || any;
  return {stream.str(), any};
}

} // namespace Host
