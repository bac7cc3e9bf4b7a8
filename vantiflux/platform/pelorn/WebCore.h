#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>

#include <vantiflux/platform/pelorn/SocketAddress.h>
#include <vantiflux/platform/pelorn/WebLimits.h>
#include <vantiflux/platform/pelorn/WebLoops.h>
#include <vantiflux/platform/pelorn/WebVisitors.h>

namespace Pelorn {

class ThreadedWebServer;
class WebConnection;

/// One opening of a web server: the listening socket, the connections and the threads. Its threads own it, so it lives
/// until the last reply has gone out, whatever has become of the server by then.
///
/// *Threads.* All operations from any thread. Besides those of the loops there is one that watches: it ends what takes
/// too long, and relieves threads of loops that wait for a lock.
class WebCore : public std::enable_shared_from_this<WebCore> {
public:
  using Executor = boost::asio::io_context::executor_type;
  using Socket = boost::asio::basic_stream_socket<boost::asio::ip::tcp, Executor>;
  using Keeper = std::function<std::shared_ptr<void>()>;
  using Clock = std::chrono::steady_clock;

  WebCore(ThreadedWebServer& server, std::shared_ptr<WebVisitors> visitors, const WebLimits& limits, Keeper keeper,
          std::string product);
  ~WebCore();
  WebCore(const WebCore&) = delete;
  WebCore& operator=(const WebCore&) = delete;

  /// Throws `IOException`.
  void open(const InetAddress& interface, std::uint16_t port);
  /// The port is free when it returns; idle connections end.
  void close();
  bool isClosed() const noexcept { return closed_.load(std::memory_order_acquire); }

  const SocketAddress& getAddress() const noexcept { return address_; }
  const WebLimits& getLimits() const noexcept { return limits_; }
  const std::string& getProduct() const noexcept { return product_; }
  std::size_t getNumConnections() const;

  /// Access to the server for the length of a scope, on a thread of a loop, as far as it is still there and open. The
  /// keeper's share goes last: with it the server may go.
  class Visit {
  public:
    explicit Visit(WebCore& core);
    ~Visit();
    Visit(const Visit&) = delete;
    Visit& operator=(const Visit&) = delete;
    explicit operator bool() const noexcept { return server_ != nullptr; }
    ThreadedWebServer* operator->() const noexcept { return server_; }
    ThreadedWebServer* get() const noexcept { return server_; }

  private:
    WebCore& core_;
    std::optional<WebLoops::Busy> busy_;
    std::shared_ptr<void> kept_;
    ThreadedWebServer* server_ = nullptr;
  };

  void removeConnection(const WebConnection& connection);
  /// Counts what a connection keeps in place of what it kept before, in bytes; false when there is no room for more.
  bool hold(std::size_t bytes, std::size_t before) noexcept;
  /// The same, room or not.
  void count(std::size_t bytes, std::size_t before) noexcept { held_ += bytes - before; }

private:
  using Acceptor = boost::asio::basic_socket_acceptor<boost::asio::ip::tcp, Executor>;
  using Connections = std::vector<std::shared_ptr<WebConnection>>;
  /// When no client is accepted for want of descriptors, memory, or room among the connections.
  enum class Pause { None, Begun, Waiting };

  void accept() noexcept;
  void acceptClients();
  void add(Socket socket);
  void pause() noexcept;
  Connections getConnections() const;
  void watch();
  void look();
  void waitToLook();
  void makeRoom(Clock::time_point now);
  void resumeAccepting();
  void wakeWatch();

  ThreadedWebServer& server_; ///< there while somebody is among the visitors
  const std::shared_ptr<WebVisitors> visitors_;
  const WebLimits limits_;
  const Keeper keeper_;
  const std::string product_;
  SocketAddress address_;
  std::atomic<bool> closed_{false};
  std::atomic<bool> watched_{false}; ///< whether the watch looks after busy threads
  std::atomic<std::size_t> held_{0}; ///< bytes of all connections
  int quiet_ = 0;                    ///< the watch's own, as is the next
  Clock::time_point nextSweep_;

  WebLoops loops_;
  mutable std::mutex lock_; ///< innermost but for a connection's; guards the rest
  std::condition_variable wake_;
  bool woken_ = false;
  Pause pause_ = Pause::None;
  Clock::time_point resumeAt_; ///< when to accept again, be there room or not
  std::unique_ptr<Acceptor> acceptor_;
  std::size_t accepted_ = 0; ///< clients so far
  std::unordered_map<const WebConnection*, std::weak_ptr<WebConnection>> connections_;
};

} // namespace Pelorn
