// The connections of a connector; how peers agree about them stands in MultiConnectorSettling.cpp, its loop in
// MultiConnectorLoop.cpp.
#include <vantiflux/platform/pelorn/MultiConnector.h>

#include <algorithm>
#include <exception>
#include <random>
#include <utility>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/MultiConnectorSetUp.h>

namespace Pelorn {

namespace {

constexpr int connectTime = 5000;
constexpr std::size_t maxLinks = 1024;
/// The greatest event of a peer that has not introduced itself.
constexpr std::size_t introductionLimit = std::size_t{64} << 10;

template <class T>
bool contains(const std::vector<T>& list, const T& value) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

std::uint64_t drawInstance() {
  std::random_device source;
  return std::uniform_int_distribution<std::uint64_t>(1)(source);
}

} // namespace

MultiConnector::MultiConnector(long setUps, int id)
    : maxSetUps_(static_cast<std::size_t>(std::max(setUps, 1L))), thread_(this, &MultiConnector::loop) {
  settings_.id = static_cast<short>(id);
}

MultiConnector::~MultiConnector() {
  close();
}

void MultiConnector::setProtocol(const std::string& name, short major, short minor) {
  const std::lock_guard lock(settingsLock_);
  settings_.protocol = name;
  settings_.major = major;
  settings_.minor = minor;
}

void MultiConnector::setMulticastAddress(const std::string& address) {
  const std::lock_guard lock(settingsLock_);
  settings_.multicastAddress = address;
}

std::string MultiConnector::getMulticastAddress() const {
  return settings().multicastAddress;
}

void MultiConnector::setMulticastPort(unsigned short port) {
  const std::lock_guard lock(settingsLock_);
  settings_.multicastPort = port;
}

unsigned short MultiConnector::getMulticastPort() const {
  return settings().multicastPort;
}

void MultiConnector::setMulticastTtl(int ttl) {
  const std::lock_guard lock(settingsLock_);
  settings_.multicastTtl = ttl;
}

int MultiConnector::getMulticastTtl() const {
  return settings().multicastTtl;
}

void MultiConnector::setId(short id) {
  const std::lock_guard lock(settingsLock_);
  settings_.id = id;
}

short MultiConnector::getId() const {
  return settings().id;
}

MultiConnector::Settings MultiConnector::settings() const {
  const std::lock_guard lock(settingsLock_);
  return settings_;
}

bool MultiConnector::open(const std::string& address, unsigned short port, bool multicast) {
  if (isOpen() || broken_)
    return false;
  try {
    server_.open(address, port, 128);
    {
      const std::lock_guard lock(linksLock_);
      opened_ = settings();
      instance_ = drawInstance();
    }
    if (multicast)
      openDiscovery(server_.getLocalAddress().getAddress());
  } catch (const IOException&) {
    discovery_.reset();
    server_.close();
    return false;
  }
  nextTick_ = Clock::now();
  ending_ = false;
  if (thread_.start())
    return true;
  close();
  return false;
}

void MultiConnector::openDiscovery(const InetAddress& local) {
  Announcement own;
  own.protocol = opened_.protocol;
  own.major = opened_.major;
  own.minor = opened_.minor;
  own.id = opened_.id;
  own.port = server_.getLocalAddress().getServicePort();
  own.instance = instance_;
  if (InetAddress::needsLookUp(opened_.multicastAddress))
    throw IOException("Unknown multicast group", EADDRNOTAVAIL);
  const InetAddress group = InetAddress::getByName(opened_.multicastAddress);
  discovery_.emplace(SocketAddress(group, opened_.multicastPort), opened_.multicastTtl, local, own,
                     Discovery::Links{[this](std::uint64_t instance) { return isLinked(instance); },
                                      [this](std::uint64_t instance, const SocketAddress& server) {
                                        if (!reapSetUps(true)) // the next announcement tries again
                                          return;
                                        const auto communicator =
                                            makeLink(std::make_unique<LinkSocket>(),
                                                     Link{.expected = instance, .target = server});
                                        if (communicator != nullptr)
                                          createCommThread(communicator.get(), true);
                                      }});
  for (const int descriptor : discovery_->descriptors())
    if (!loopWait_.addReader(descriptor, discoveryNumber))
      throw IOException("Cannot wait for announcements", ENOMEM);
}

void MultiConnector::close() {
  ending_ = true;
  breakWait();
  loopWait_.wake();
  thread_.join();
  std::vector<std::unique_ptr<SetUp>> setUps;
  {
    const std::lock_guard lock(linksLock_);
    for (auto& [number, link] : links_)
      link.communicator->close();
    setUps.swap(setUps_);
  }
  setUps.clear(); // waits for them
  if (watchesServer_)
    watchServer(false);
  server_.close();
  discovery_.reset();
  blocked_.clear();
  std::unordered_map<std::uint64_t, Link> links;
  const std::lock_guard lock(linksLock_);
  links.swap(links_);
  for (const auto& [number, link] : links)
    unwatch(*link.communicator);
  thisServer_.clear();
  fresh_.clear();
  ready_.clear();
  toFlush_.clear();
}

bool MultiConnector::send(const Frame::Pointer& frame) {
  std::vector<Communicator::Pointer> receivers;
  {
    const std::lock_guard lock(linksLock_);
    for (const auto& [number, link] : links_)
      if (link.communicator->isAdmitted())
        receivers.push_back(link.communicator);
  }
  bool all = true;
  for (const auto& receiver : receivers)
    all = receiver->send(frame) && all;
  return all;
}

bool MultiConnector::waitForCommunicators() {
  while (!broken_) {
    {
      const std::lock_guard lock(linksLock_);
      ready_.insert(ready_.end(), fresh_.begin(), fresh_.end());
      fresh_.clear();
      if (!ready_.empty())
        return true;
    }
    for (const Epoll::Ready& found : receiveWait_.wait(-1))
      if (found.number != Epoll::woken) {
        const std::lock_guard lock(linksLock_);
        ready_.push_back(found.number);
      }
  }
  return false;
}

bool MultiConnector::communicatorsAvail(int& count) {
  const std::lock_guard lock(linksLock_);
  count = static_cast<int>(ready_.size() + fresh_.size());
  return !broken_;
}

bool MultiConnector::receiveCommunicator(Communicator*& communicator) {
  communicator = nullptr;
  const std::lock_guard lock(linksLock_);
  while (communicator == nullptr && !ready_.empty()) {
    if (const auto found = links_.find(ready_.front()); found != links_.end() && found->second.added)
      communicator = found->second.communicator.get();
    ready_.pop_front();
  }
  return true;
}

void MultiConnector::breakWait() {
  broken_ = true;
  server_.breakWait();
  receiveWait_.wake();
  const std::lock_guard lock(linksLock_);
  for (auto& [number, link] : links_)
    if (!link.added)
      link.communicator->close();
}

void MultiConnector::resetWait() {
  server_.resetWait();
  broken_ = false;
}

Communicator::Pointer MultiConnector::makeLink(std::unique_ptr<LinkSocket> socket, Link link) {
  auto communicator = std::make_shared<Communicator>(std::move(socket), [this](Communicator& busy) {
    const std::lock_guard lock(linksLock_);
    toFlush_.push_back(busy.shared_from_this());
    if (toFlush_.size() == 1)
      loopWait_.wake();
  });
  communicator->reader().setLimit(introductionLimit);
  const std::lock_guard lock(linksLock_);
  if (broken_ || !isOpen() || links_.size() >= maxLinks)
    return nullptr;
  communicator->setNumber(++lastNumber_);
  link.communicator = communicator;
  links_.emplace(communicator->number(), std::move(link));
  return communicator;
}

MultiConnector::Link* MultiConnector::find(const Communicator& communicator) {
  const auto found = links_.find(communicator.number());
  return found == links_.end() ? nullptr : &found->second;
}

bool MultiConnector::isLinked(std::uint64_t instance) const {
  const std::lock_guard lock(linksLock_);
  return std::any_of(links_.begin(), links_.end(), [&](const auto& entry) {
    return entry.second.instance == instance || entry.second.expected == instance;
  });
}

bool MultiConnector::addCommunicator(Communicator* communicator) {
  communicator->reader().setLimit(Frame::maxLength);
  const std::lock_guard lock(linksLock_);
  Link* const link = find(*communicator);
  const int descriptor = communicator->socket().descriptor();
  if (link == nullptr || broken_ || !receiveWait_.addReader(descriptor, communicator->number()) ||
      !loopWait_.addWriter(descriptor, communicator->number()))
    return false;
  link->added = true;
  fresh_.push_back(communicator->number());
  receiveWait_.wake();
  return true;
}

void MultiConnector::unwatch(Communicator& communicator) {
  receiveWait_.remove(communicator.socket().descriptor());
  loopWait_.remove(communicator.socket().descriptor());
}

void MultiConnector::removeCommunicator(Communicator* communicator) {
  Communicator::Pointer kept; // goes after the lock
  const std::lock_guard lock(linksLock_);
  Link* const link = find(*communicator);
  if (link == nullptr)
    return;
  unwatch(*communicator);
  kept = std::move(link->communicator);
  links_.erase(kept->number());
}

bool MultiConnector::connectToServer(const std::string& address, unsigned short port) {
  if (isConnectedToServer(address, port))
    return true;
  const auto communicator = makeLink(std::make_unique<LinkSocket>(), Link{.servers = {Server(address, port)}});
  if (communicator == nullptr)
    return false;
  try {
    communicator->socket().connect(address, port, connectTime);
    if (addCommunicator(communicator.get()))
      return true;
  } catch (const IOException&) {
  }
  communicator->close();
  removeCommunicator(communicator.get());
  return isConnectedToServer(address, port);
}

bool MultiConnector::disconnectFromServer(const std::string& address, unsigned short port) {
  const std::lock_guard lock(linksLock_);
  bool any = false;
  for (auto& [number, link] : links_)
    if (contains(link.servers, Server(address, port))) {
      link.communicator->close();
      any = true;
    }
  return any;
}

bool MultiConnector::isConnectedToServer(const std::string& address, unsigned short port) const {
  const Server server(address, port);
  const std::lock_guard lock(linksLock_);
  return contains(thisServer_, server) || std::any_of(links_.begin(), links_.end(), [&](const auto& entry) {
           return entry.second.added && contains(entry.second.servers, server);
         });
}

void MultiConnector::createCommThread(Communicator* communicator, bool connects) {
  auto setUp = std::make_unique<SetUp>(*this, communicator->shared_from_this(), connects);
  const std::lock_guard lock(linksLock_);
  if (setUp->start())
    setUps_.push_back(std::move(setUp));
  else
    links_.erase(communicator->number());
}

// On a thread of its own.
void MultiConnector::setUp(Communicator& communicator) {
  std::optional<SocketAddress> target;
  {
    const std::lock_guard lock(linksLock_);
    if (const Link* const link = find(communicator))
      target = link->target;
  }
  try {
    if (target.has_value())
      communicator.socket().connect(target->getHostAddress(), target->getServicePort(), connectTime);
    if (addCommunicator(&communicator))
      return;
  } catch (const std::exception&) { // no connection, or no memory for one
  }
  communicator.close();
  removeCommunicator(&communicator);
}

} // namespace Pelorn
