#pragma once

#include <set>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/platform/tarsil/Event.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// Lets one thread sleep on many in-slots.
/// *Threads.* One thread waits; others may add and remove slots meanwhile.
class VANTIFLUX_API Wait : public BasicInSlot::Listener {
public:
  Wait();
  ~Wait() override;

  void addInSlot(BasicInSlot& slot);
  void removeInSlot(BasicInSlot& slot);

  /// Blocks until a slot holds a value that was not taken, and returns it. Takes turns among the slots, so that a busy
  /// one does not starve the others. Without slots it blocks until one is added and gets a value.
  BasicInSlot* wait();
  /// The same without blocking; null when there is none.
  BasicInSlot* findNonEmptyInSlot();

  void newData(BasicInSlot& slot) override;

private:
  std::set<BasicInSlot*>::iterator next(std::set<BasicInSlot*>::iterator at);

  Tarsil::Event event_{true, false};
  Tarsil::Mutex mutex_; ///< guards the set and the cursor
  std::set<BasicInSlot*> slots_;
  std::set<BasicInSlot*>::iterator cursor_;
};

} // namespace Vantiflux
