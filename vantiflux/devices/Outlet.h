#pragma once

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>

namespace Vantiflux {

/// The way from a node's in-slot to a device that comes and goes. Closed, it drops what it is given; holding, it keeps
/// it until the device is ready, so that nothing gets between the pieces of an init string; open, it hands it to the
/// device.
///
/// *Threads.* All operations from any thread, none blocks. After `hold` and `close` the sink is not in use any more.
///
/// *Failure.* A message that the device refuses, or that is too much to keep, is lost as a whole. That gives one line
/// in the node's log; the next one only after a message has gone through.
class VANTIFLUX_API Outlet {
public:
  /// Sends a message whole or not at all, and never blocks. False, if it was refused.
  using Sink = std::function<bool(const std::string& message)>;

  /// As many bytes are kept at most.
  static constexpr std::size_t holdLimit = std::size_t{1} << 20;

  explicit Outlet(Node& node) : node_(node) {}

  /// Goes on holding what it holds already.
  void hold();
  /// Sends what was kept first.
  void open(Sink sink);
  void close();
  void send(const std::string& message);

private:
  enum class State { Closed, Holding, Open };

  void enter(State state, Sink sink);
  void pass(const std::string& message);
  void note(bool accepted);

  Node& node_;
  std::mutex lock_; ///< guards the rest; only the sink and the node's log are called under it
  State state_ = State::Closed;
  Sink sink_;
  std::vector<std::string> kept_;
  std::size_t keptBytes_ = 0;
  bool refusing_ = false;
};

} // namespace Vantiflux
