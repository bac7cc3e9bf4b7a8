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
  acceptor_->async_accept(loops_.next(),
                          [self = shared_from_this()](const boost::system::error_code& error, Socket socket) {
                            self->accepted(error, std::move(socket));
                          });
}

void WebCore::accepted(const boost::system::error_code& error, Socket socket) {
  if (!error && !isClosed())
    add(std::move(socket));
  const std::lock_guard guard(lock_);
  if (isClosed())
    return;
  if (isShortage(error)) {
    paused_ = woken_ = true;
    wake_.notify_one();
  } else {
    accept();
  }
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

void WebCore::removeConnection(const WebConnection& connection) {
  const std::lock_guard guard(lock_);
  connections_.erase(&connection);
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
      else if (paused_)
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
    if (const auto now = Clock::now(); now >= nextSweep || paused_) {
      sweep();
      nextSweep = now + pause;
    }
  }
}

void WebCore::sweep() {
  const auto now = Clock::now();
  const Connections connections = getConnections();
  for (const auto& connection : connections)
    connection->expire(now);
  bool paused = false;
  {
    const std::lock_guard guard(lock_);
    paused = std::exchange(paused_, false);
  }
  if (!paused)
    return;
  // Room for those who want to come in: who has been idle for longest makes it, a few at a time.
  std::vector<std::pair<Clock::time_point, std::shared_ptr<WebConnection>>> idle;
  for (const auto& connection : connections)
    if (const auto since = connection->idleSince())
      idle.emplace_back(*since, connection);
  const std::size_t ended = std::min(idle.size(), 1 + idle.size() / 16);
  std::partial_sort(idle.begin(), idle.begin() + static_cast<std::ptrdiff_t>(ended), idle.end());
  for (std::size_t i = 0; i < ended; ++i)
    idle[i].second->endIfIdle();
  boost::asio::post(loops_.first(), [self = shared_from_this()] { self->resumeAccepting(); });
}

void WebCore::resumeAccepting() {
  const std::lock_guard guard(lock_);
  if (!isClosed())
    accept();
}

WebCore::Visit::Visit(WebCore& core) : core_(core) {
  if (core.keeper_ && !(kept_ = core.keeper_()))
    return;
  if (core.isClosed() || !core.visitors_->enter())
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
