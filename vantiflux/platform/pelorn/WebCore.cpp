#include <vantiflux/platform/pelorn/WebCore.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/resource.h>

#include <boost/asio/post.hpp>
#include <boost/asio/socket_base.hpp>
#include <boost/system/system_error.hpp>

#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/ThreadedWebServer.h>
#include <vantiflux/platform/pelorn/WebConnection.h>
#include <vantiflux/platform/tarsil/SysInfo.h>

namespace Pelorn {

namespace {

using namespace std::chrono_literals;

constexpr auto busyTick = 5ms;   ///< how long a thread is in one request before another takes its place
constexpr auto pauseTime = 50ms; ///< before a client is accepted again when there was no descriptor
constexpr auto slowTime = 1s;    ///< for one request, before it may have to make room for other clients
constexpr int quietTicks = 40;   ///< without a request, until the watch looks after them no more

unsigned numberOfLoops() {
  return std::clamp(Tarsil::SysInfo::the().getNumberOfProcessors(), 1U, 4U);
}

bool isShortage(const boost::system::error_code& error) {
  return error.value() == EMFILE || error.value() == ENFILE || error.value() == ENOBUFS || error.value() == ENOMEM;
}

// How often connections have to be looked at so that their times are kept.
std::chrono::milliseconds sweepTime(const WebLimits& limits) {
  const auto least = std::min({limits.idle, limits.headTime, limits.bodyTime, limits.stall, limits.linger});
  return std::clamp<std::chrono::milliseconds>(least / 4, 10ms, 1000ms);
}

// However many a process may have: a head and a small body or reply are kept for every connection that is accepted.
constexpr rlim_t maxDescriptors = 8192;

// The rest of the descriptors is for what the requests want.
WebLimits complete(WebLimits limits) {
  rlimit descriptors{};
  if (limits.connections == 0 && ::getrlimit(RLIMIT_NOFILE, &descriptors) == 0)
    limits.connections = static_cast<std::size_t>(std::min(descriptors.rlim_cur, maxDescriptors) / 2);
  limits.connections = std::max<std::size_t>(limits.connections, 1);
  limits.rate = std::max<std::size_t>(limits.rate, 1);
  return limits;
}

} // namespace

WebCore::WebCore(ThreadedWebServer& server, std::shared_ptr<WebVisitors> visitors, const WebLimits& limits,
                 Keeper keeper, std::string product)
    : server_(server), visitors_(std::move(visitors)), limits_(complete(limits)), keeper_(std::move(keeper)),
      product_(std::move(product)), loops_(numberOfLoops(), limits.blockedThreads, [this] { wakeWatch(); }) {}

WebCore::~WebCore() = default;

void WebCore::open(const InetAddress& interface, std::uint16_t port) {
  namespace asio = boost::asio;
  const std::string what = "Cannot listen on " + interface.getHostAddress() + ":" + std::to_string(port);
  const auto self = shared_from_this();
  try {
    const asio::ip::tcp::endpoint endpoint(asio::ip::address_v4(interface.getAddress()), port);
    acceptor_ = std::make_unique<Acceptor>(loops_.first().get_executor());
    acceptor_->open(endpoint.protocol());
    ::fcntl(acceptor_->native_handle(), F_SETFD, FD_CLOEXEC);
    // A server that starts again shall not wait for the connections of its last run to fade.
    acceptor_->set_option(asio::socket_base::reuse_address(true));
    acceptor_->bind(endpoint);
    acceptor_->non_blocking(true);
    acceptor_->listen(asio::socket_base::max_listen_connections);
    address_ = SocketAddress::localOf(acceptor_->native_handle());
  } catch (const boost::system::system_error& e) {
    throw IOException(what, e.code().value());
  }
  try {
    loops_.start(self);
    std::thread([self] { self->watch(); }).detach();
  } catch (const std::system_error& e) {
    close();
    throw IOException(what, e.code().value());
  }
  const std::lock_guard guard(lock_);
  accept();
}

void WebCore::close() {
  {
    const std::lock_guard guard(lock_);
    if (closed_.exchange(true))
      return;
    boost::system::error_code ignored;
    acceptor_->close(ignored);
  }
  for (const auto& connection : getConnections())
    connection->endIfIdle();
  loops_.release();
  wakeWatch();
}

std::size_t WebCore::getNumConnections() const {
  const std::lock_guard guard(lock_);
  return connections_.size();
}

// Needs the lock: the acceptor is no object for several threads. Without memory the next attempt is the watch's.
void WebCore::accept() noexcept {
  try {
    acceptor_->async_wait(Acceptor::wait_read, [self = shared_from_this()](const boost::system::error_code& error) {
      if (!error)
        self->acceptClients();
    });
  } catch (const std::exception&) {
    pause();
  }
}

// Needs the lock.
void WebCore::pause() noexcept {
  pause_ = Pause::Begun;
  woken_ = true;
  wake_.notify_one();
}

// There is a client. A shortage counts only where it keeps out the first: the system reports it whether or not there is
// another one. A client that there is no memory for is lost, and no other with it.
void WebCore::acceptClients() {
  const std::lock_guard guard(lock_);
  if (isClosed())
    return;
  int accepted = 0;
  bool isShort = false;
  try {
    for (; accepted < 16; ++accepted) {
      boost::system::error_code error;
      isShort = connections_.size() >= limits_.connections;
      if (isShort)
        break;
      Socket client = acceptor_->accept(loops_.at(accepted_), error);
      isShort = isShortage(error);
      if (error)
        break;
      add(std::move(client));
    }
  } catch (const std::exception&) {
    isShort = false;
  }
  if (isShort && accepted == 0)
    pause();
  else
    accept();
}

// Needs the lock, while the server is open: a loop that has been released may have no thread any more that would ever
// take what is posted to it.
void WebCore::add(Socket socket) {
  const auto context = socket.get_executor();
  ++accepted_; // the next one goes to the next loop
  const auto connection = std::make_shared<WebConnection>(shared_from_this(), std::move(socket));
  const auto place = connections_.emplace(connection.get(), connection).first;
  try {
    boost::asio::post(context, [connection] { connection->start(); });
  } catch (const std::exception&) {
    connections_.erase(place);
    throw;
  }
  if (connections_.size() == 1) {
    woken_ = true;
    wake_.notify_one();
  }
}

// Its descriptor is free by now.
void WebCore::removeConnection(const WebConnection& connection) {
  const std::lock_guard guard(lock_);
  connections_.erase(&connection);
  if (pause_ != Pause::None)
    resumeAccepting();
}

WebCore::Connections WebCore::getConnections() const {
  Connections result;
  const std::lock_guard guard(lock_);
  result.reserve(connections_.size());
  for (const auto& [key, connection] : connections_)
    if (auto locked = connection.lock())
      result.push_back(std::move(locked));
  return result;
}

void WebCore::wakeWatch() {
  const std::lock_guard guard(lock_);
  woken_ = true;
  wake_.notify_one();
}

// It goes on whatever memory is missing for one look.
void WebCore::watch() {
  while (!isClosed() || !loops_.hasEnded()) {
    waitToLook();
    try {
      look();
    } catch (const std::exception&) { // the next look makes up for it
    }
  }
}

void WebCore::waitToLook() {
  const auto sweep = sweepTime(limits_);
  const auto woken = [this] { return std::exchange(woken_, false); };
  std::unique_lock guard(lock_);
  if (watched_)
    wake_.wait_for(guard, busyTick, woken);
  else if (pause_ != Pause::None)
    wake_.wait_for(guard, std::min<std::chrono::milliseconds>(pauseTime, sweep), woken);
  else if (!connections_.empty())
    wake_.wait_for(guard, sweep, woken);
  else
    wake_.wait(guard, woken);
}

void WebCore::look() {
  quiet_ = loops_.relieve() ? 0 : quiet_ + 1;
  if (quiet_ > quietTicks) {
    watched_ = false;
    if (loops_.relieve()) // one that has begun meanwhile and has seen itself watched
      watched_ = true;
  }
  const auto now = Clock::now();
  if (now >= nextSweep_) {
    for (const auto& connection : getConnections())
      connection->expire(now);
    nextSweep_ = now + sweepTime(limits_);
  }
  makeRoom(now);
}

// Room for those who want to come in: who has been idle for longest makes it, a few at a time, or, where nobody is
// idle, who has been at one request for longest. When that is of no use, the next attempt to accept somebody tells.
void WebCore::makeRoom(Clock::time_point now) {
  {
    const std::lock_guard guard(lock_);
    if (pause_ == Pause::Waiting && now >= resumeAt_)
      resumeAccepting();
    if (pause_ != Pause::Begun)
      return;
    pause_ = Pause::Waiting;
    resumeAt_ = now + pauseTime;
  }
  std::vector<std::pair<Clock::time_point, std::shared_ptr<WebConnection>>> idle, slow;
  for (const auto& connection : getConnections())
    if (const auto waits = connection->waitsForClient(); waits && waits->isIdle)
      idle.emplace_back(waits->since, connection);
    else if (waits && waits->since + slowTime <= now)
      slow.emplace_back(waits->since, connection);
  auto& chosen = idle.empty() ? slow : idle;
  const std::size_t ended = std::min(chosen.size(), 1 + chosen.size() / 16);
  std::partial_sort(chosen.begin(), chosen.begin() + static_cast<std::ptrdiff_t>(ended), chosen.end());
  for (std::size_t i = 0; i < ended; ++i)
    chosen[i].second->endUnlessAnswering();
}

// Needs the lock. On the acceptor's own loop: this may be a step of a connection that is in the middle of something.
void WebCore::resumeAccepting() {
  if (isClosed())
    return; // that loop may have ended
  boost::asio::post(loops_.first(), [self = shared_from_this()] {
    const std::lock_guard guard(self->lock_);
    if (!self->isClosed())
      self->accept();
  });
  pause_ = Pause::None;
}

bool WebCore::hold(std::size_t bytes, std::size_t before) noexcept {
  if (bytes <= before) {
    held_ -= before - bytes;
    return true;
  }
  const std::size_t more = bytes - before;
  for (std::size_t held = held_; more <= limits_.memory && held <= limits_.memory - more;)
    if (held_.compare_exchange_weak(held, held + more))
      return true;
  return false;
}

WebCore::Visit::Visit(WebCore& core) : core_(core) {
  if (core.keeper_)
    kept_ = core.keeper_();
  if ((core.keeper_ && !kept_) || core.isClosed() || !core.visitors_->enter())
    return;
  server_ = &core.server_;
  busy_.emplace(); // before the look at the watch, which looks the other way round
  if (!core.watched_) {
    core.watched_ = true;
    core.wakeWatch();
  }
}

WebCore::Visit::~Visit() {
  if (server_ != nullptr)
    core_.visitors_->leave();
  kept_.reset(); // with it the server may go, which may take a while
}

} // namespace Pelorn
