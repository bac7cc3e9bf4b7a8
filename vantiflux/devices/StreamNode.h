#pragma once

#include <functional>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/devices/Outlet.h>
#include <vantiflux/platform/pelorn/Wait.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// What the nodes between a device that speaks bytes and the flow of data have in common: texts in both directions, a
/// worker that reads, and a string for the beginning and the end of the device's operation. A "#" in those is a pause
/// of 500 ms.
///
/// | Slot       | Direction | Type     |                              |
/// |------------|-----------|----------|------------------------------|
/// | "Data in"  | in        | `string` | goes to the device unchanged |
/// | "Data out" | out       | `string` | what the device sent         |
///
/// *Threads.* The worker opens, reads and pushes. `newData` sends in the writer's thread and never blocks: what the
/// device does not take at once is queued, up to 1 MiB, beyond which messages are dropped, with a line in the log.
/// Fields may be set at any time and count from the next opening on.
///
/// *Stopping* ends every wait of the worker at once. Only what is still to go out takes time, with the deinit string: a
/// second at most altogether if the peer takes nothing more, and the pauses in the string, which are left out once they
/// amount to 5 seconds.
///
/// A derived class calls `disable` and then ends its worker in its own destructor.
class VANTIFLUX_API StreamNode : public Node {
public:
  ~StreamNode() override;

  void setInitString(const std::string& text) { initString_.set(text); }
  std::string getInitString() const { return initString_.get(); }
  void setDeinitString(const std::string& text) { deinitString_.set(text); }
  std::string getDeinitString() const { return deinitString_.get(); }

  void newData(BasicInSlot& slot) override;

protected:
  /// How long all that is left may take to go out, and how long they may pause altogether, in milliseconds.
  static constexpr int finalSendTime = 1000;
  static constexpr int finalPauseTime = 5000;

  StreamNode(const char* inDescription, const char* outDescription);

  /// The body of the worker.
  virtual void thread() = 0;

  /// As of NodeWorker, with the wait made ready for the run, and signalled for its end.
  void startWorker(const std::function<bool()>& prepare);
  void stopWorker(const std::function<void()>& interrupt);

  /// The worker's sleep: false when it is to end.
  bool waitThread(int milliseconds) { return wait_.wait(milliseconds); }

  /// False when the worker is to end, or a piece could not be sent.
  bool sendInitString(const std::function<bool(std::string_view piece)>& send);
  /// Sleeps on although the worker is to end. Ends early when a piece could not be sent.
  void sendDeinitString(const std::function<bool(std::string_view piece)>& send);

  InSlot<std::string> dataIn_;
  OutSlot<std::string> dataOut_;
  Outlet outlet_;

private:
  Setting<std::string> initString_;
  Setting<std::string> deinitString_;
  Pelorn::Wait wait_;
  NodeWorker worker_;
};

} // namespace Vantiflux
