#pragma once

#include <atomic>
#include <cstddef>
#include <list>
#include <memory>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <vantiflux/platform/tarsil/ObjectThread.h>

namespace Pelorn {

/// The threads of all WebSocket connections of the process: some that read and send and never wait, eight for calls
/// that may wait, two for calls that take long besides, one for messages that take long to make, and one that tells of
/// ends, which no call has to wait for. They are started by the first connection.
///
/// Each that reads and sends has a loop of its own: what is posted there runs one after the other. What is posted for
/// the others may run beside each other. Handlers that wait in the loops keep their connections, and are destroyed with
/// them.
class WebSocketThreads {
public:
  using Context = boost::asio::io_context;

  /// Starts them if there are none. Throws std::system_error when the system refuses threads, and after `end`.
  static std::shared_ptr<WebSocketThreads> get();
  /// Stops the threads for good, and with them all connections, and waits for their end, lending the mutexes that this
  /// thread holds. Called on one of them, that one ends when the call has returned.
  static void end();

  WebSocketThreads();
  ~WebSocketThreads();
  WebSocketThreads(const WebSocketThreads&) = delete;
  WebSocketThreads& operator=(const WebSocketThreads&) = delete;

  /// For what must not wait: one of several, each in its turn.
  Context& wire() noexcept;
  /// For what may.
  Context& calls() noexcept { return calls_.context; }
  /// For what may, and others should not have to wait for.
  Context& longCalls() noexcept { return longCalls_.context; }
  /// For messages that take long to make.
  Context& longSends() noexcept { return longSends_.context; }
  /// For what follows the end of a connection. It may wait.
  Context& ends() noexcept { return ends_.context; }

private:
  struct Loop {
    explicit Loop(unsigned count);
    int run();

    Context context;
    boost::asio::executor_work_guard<Context::executor_type> work;
    std::list<Tarsil::ObjectThread<Loop>> threads; ///< go first
  };

  void start();
  bool stop();
  template <class Call>
  void forEach(Call call);

  std::list<Loop> wires_;    ///< go last: connections that wait elsewhere live here
  std::vector<Loop*> order_; ///< of the wires
  Loop calls_;
  Loop longCalls_;
  Loop longSends_;
  Loop ends_;
  std::atomic<std::size_t> next_{0};
};

} // namespace Pelorn
