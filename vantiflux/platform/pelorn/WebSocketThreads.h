#pragma once

#include <memory>
#include <vector>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/platform/tarsil/ObjectThread.h>

namespace Pelorn {

/// The threads of all WebSocket connections of the process: some that read and send and never wait, and one for calls
/// that may wait for locks. They are started by the first connection.
///
/// Handlers that wait in the loops keep their connections, and are destroyed with them.
class WebSocketThreads {
public:
  using Context = boost::asio::io_context;

  /// Starts them if there are none. Throws std::system_error when the system refuses threads.
  static std::shared_ptr<WebSocketThreads> get();
  /// Stops the threads, and with them all connections, and waits for their end, lending the mutexes that this thread
  /// holds. Called on one of them, that one ends when the call has returned.
  static void end();

  WebSocketThreads();
  ~WebSocketThreads();
  WebSocketThreads(const WebSocketThreads&) = delete;
  WebSocketThreads& operator=(const WebSocketThreads&) = delete;

  /// For what must not wait.
  Context& wire() noexcept { return wire_; }
  /// For what may.
  Context& calls() noexcept { return calls_; }

private:
  using Thread = Tarsil::ObjectThread<WebSocketThreads>;
  using Work = boost::asio::executor_work_guard<Context::executor_type>;

  void start();
  bool stop();
  int runWire();
  int runCalls();

  Context wire_;
  Context calls_;
  Work wireWork_;
  Work callsWork_;
  std::vector<std::unique_ptr<Thread>> threads_; ///< go first
};

} // namespace Pelorn
