#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/tarsil/Event.h>
#include <vantiflux/platform/tarsil/Mutex.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// A filter whose work is too long for the producer's thread. A worker does it, one value at a time; what arrives
/// meanwhile is dropped, so that nothing waits in a queue and the producer is never held up.
///
/// The node runs while its out-slot is in use. The in-slot does not count: a filter without a source waits for one.
///
/// *Threads.* `newData` runs in the producer's thread and never blocks. `transform` runs in the worker, and so does
/// everything downstream. When `stop` returns, the worker has ended; it finishes a value that it is working on.
///
/// *Failure.* A dropped value is reported on standard error. An exception of `transform`, or of somebody downstream,
/// drops the value that it was about, with a line in the log.
///
/// A derived class calls `disable` and then `endWorker` in its own destructor.
template <class In, class Out>
class VANTIFLUX_API BasicThreadedFilterNode : public Node {
public:
  ~BasicThreadedFilterNode() override;

  void start() override;
  void stop() override;
  void newData(BasicInSlot& slot) override TARSIL_NO_ANALYSIS;
  void startInSlot(BasicInSlot& /*slot*/) override {}
  void stopInSlot(BasicInSlot& /*slot*/) override {}

  /// The filter's work. The value may be shared with others who read it at the same time: it must stay as it is.
  virtual Out transform(In& frame) const = 0;

protected:
  BasicThreadedFilterNode(const std::string& inLabel, const std::string& inDescription, const std::string& outLabel,
                          const std::string& outDescription);

  /// Ends the worker, if it runs.
  void endWorker();

private:
  bool prepare();
  void thread();
  void work() TARSIL_NO_ANALYSIS;

  Tarsil::Mutex
      frameMutex_; ///< held while a frame is stored or transformed, and only tried by both; guards the next two
  In frame_{};     ///< the frame waiting for the worker
  bool frameWaits_ = false;
  Tarsil::Event stopEvent_{false, false};  ///< tells the worker to end
  Tarsil::Event frameEvent_{false, false}; ///< wakes the worker, for a frame or for its end
  InSlot<In> in_;
  OutSlot<Out> out_;
  NodeWorker worker_;
};

extern template class BasicThreadedFilterNode<SmartPtr<Image>, SmartPtr<Image>>;

/// The filters of images.
using ThreadedImageFilterNode = BasicThreadedFilterNode<SmartPtr<Image>, SmartPtr<Image>>;

} // namespace Vantiflux
