#include <vantiflux/platform/pelorn/WebCore.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>

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

} // namespace

WebCore::WebCore(ThreadedWebServer& server, std::shared_ptr<WebVisitors> visitors, const WebLimits& limits,
                 Keeper keeper, std::string product)
    : server_(server), visitors_(std::move(visitors)), limits_(limits), keeper_(std::move(keeper)),
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

// Needs the lock: the acceptor is no object for several threads.
void WebCore::accept() {
  acceptor_->async_wait(Acceptor::wait_read, [self = shared_from_this()](const boost::system::error_code& error) {
    if (!error)
      self->acceptClients();
  });
}

// There is a client. A shortage counts only where it keeps out the first: the system reports it whether or not there is
// another one.
void WebCore::acceptClients() {
  std::vector<Socket> clients;
  {
    const std::lock_guard guard(lock_);
    boost::system::error_code error;
    while (!isClosed() && !error && clients.size() < 16) {
      Socket client = acceptor_->accept(loops_.next(), error);
      if (!error)
        clients.push_back(std::move(client));
    }
    if (isClosed())
      return;
    if (isShortage(error) && clients.empty()) {
      pause_ = Pause::Begun;
      woken_ = true;
      wake_.notify_one();
    } else {
      accept();
    }
  }
  for (Socket& client : clients)
    add(std::move(client));
}

void WebCore::add(Socket socket) {
  const auto context = socket.get_executor();
  const auto connection = std::make_shared<WebConnection>(shared_from_this(), std::move(socket));
  {
    const std::lock_guard guard(lock_);
    connections_.emplace(connection.get(), connection);
    if (connections_.size() == 1) {
      woken_ = true;
      wake_.notify_one();
    }
  }
  boost::asio::post(context, [connection] { connection->start(); });
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

void WebCore::watch() {
  const auto pause = sweepTime(limits_);
  Clock::time_point nextSweep = Clock::now() + pause;
  int quiet = 0;
  while (!isClosed() || !loops_.hasEnded()) {
    {
      std::unique_lock guard(lock_);
      const auto woken = [this] { return std::exchange(woken_, false); };
      if (watched_)
        wake_.wait_for(guard, busyTick, woken);
      else if (pause_ != Pause::None)
        wake_.wait_for(guard, std::min<std::chrono::milliseconds>(pauseTime, pause), woken);
      else if (!connections_.empty())
        wake_.wait_for(guard, pause, woken);
      else
        wake_.wait(guard, woken);
    }
    quiet = loops_.relieve() ? 0 : quiet + 1;
    if (quiet > quietTicks) {
      watched_ = false;
      if (loops_.relieve()) // one that has begun meanwhile and has seen itself watched
        watched_ = true;
    }
    const auto now = Clock::now();
    if (now >= nextSweep) {
      for (const auto& connection : getConnections())
        connection->expire(now);
      nextSweep = now + pause;
    }
    makeRoom(now);
  }
}

// Room for those who want to come in: who has been idle for longest makes it, a few at a time. When that is of no use,
// the next attempt to accept somebody tells.
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
  std::vector<std::pair<Clock::time_point, std::shared_ptr<WebConnection>>> idle;
  for (const auto& connection : getConnections())
    if (const auto since = connection->idleSince())
      idle.emplace_back(*since, connection);
  const std::size_t ended = std::min(idle.size(), 1 + idle.size() / 16);
  std::partial_sort(idle.begin(), idle.begin() + static_cast<std::ptrdiff_t>(ended), idle.end());
  for (std::size_t i = 0; i < ended; ++i)
    idle[i].second->endIfIdle();
}

// Needs the lock. On the acceptor's own loop: this may be a step of a connection that is in the middle of something.
void WebCore::resumeAccepting() {
  pause_ = Pause::None;
  boost::asio::post(loops_.first(), [self = shared_from_this()] {
    const std::lock_guard guard(self->lock_);
    if (!self->isClosed())
      self->accept();
  });
}

WebCore::Visit::Visit(WebCore& core) : core_(core) {
  if (core.keeper_)
    kept_ = core.keeper_();
  if ((core.keeper_ && !kept_) || core.isClosed() || !core.visitors_->enter())
    return;
  server_ = &core.server_;
  busy_.emplace();
  if (!core.watched_.load(std::memory_order_relaxed)) {
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
