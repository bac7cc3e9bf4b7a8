#pragma once

#include <atomic>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/ConnectionList.h>
#include <vantiflux/core/Data.h>
#include <vantiflux/core/DeliveryList.h>
#include <vantiflux/core/Graveyard.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Restructuring.h>
#include <vantiflux/core/TypeName.h>
#include <vantiflux/platform/tarsil/ThreadId.h>

namespace Vantiflux {

/// Sends values of one type to the in-slots that are connected to it, and keeps the last one for those that come.
///
/// *Threads.* `push` delivers in the calling thread and runs all listeners there; writers of one slot wait for each
/// other. A slot that is pushed again while it delivers, by a ring of routes, stores the value and forwards nothing.
template <class T>
class VANTIFLUX_API OutSlot : public BasicOutSlot {
public:
  explicit OutSlot(std::string description = {}) : BasicOutSlot(std::move(description)) {}
  ~OutSlot() override = default;

  const char* getTypeName() const override { return TypeName<T>::getName(); }
  const std::type_info& getTypeID() const override { return typeid(T); }
  void connect(BasicInSlot* slot) override;
  void disconnect(BasicInSlot* slot) override;
  std::unique_ptr<BasicInSlot> createMatchingInSlot() const override { return std::make_unique<InSlot<T>>(); }
  bool isConnected() const override { return connected_.load(std::memory_order_acquire); }

  /// Stores a copy of the value and delivers it to every connected in-slot, in the order of their connection.
  /// An exception of a listener ends the delivery and leaves through here.
  void push(const Data<T>& data);
  /// Sets the stored value without delivering it and without making it valid.
  void setValue(const Data<T>& data);
  /// A copy of the stored value, valid or not.
  Data<T> getValue() const;

private:
  friend class InSlot<T>;

  /// Marks the slot as delivering for `first`, and for what others store meanwhile.
  template <class First>
  void deliver(First&& first);
  void store(const Data<T>& data) {
    if (&data != &last_)
      last_ = data;
  }
  void settle(BasicInSlot& slot, Restructuring::Stops stops) override;
  void attach(InSlot<T>& in);
  void detach(InSlot<T>& in, Restructuring::Stops stops);

  ConnectionList<InSlot<T>> connections_; ///< guarded by the lock of structure
  std::atomic<bool> connected_{false};    ///< whether there are any; written under the lock of structure
  DeliveryList<InSlot<T>> attached_;      ///< those that get values
  // The rest is guarded by the data mutex.
  Data<T> last_;
  Tarsil::ThreadId deliverer_ = 0; ///< the thread that delivers now
  bool again_ = false;             ///< another thread, to whom the deliverer lent the slot, stored a value meanwhile
};

template <class T>
void OutSlot<T>::push(const Data<T>& data) {
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Delivery);
    store(data);
    valid_ = true;
    if (deliverer_ == 0)
      deliver([&] { attached_.walk([&](InSlot<T>& in) { in.push(data); }); });
    else if (deliverer_ != Tarsil::thisThread())
      again_ = true;
  }
  Graveyard::visit();
}

template <class T>
template <class First>
void OutSlot<T>::deliver(First&& first) {
  struct Delivering {
    explicit Delivering(OutSlot& s) : slot(s) { slot.deliverer_ = Tarsil::thisThread(); }
    ~Delivering() {
      slot.deliverer_ = 0;
      slot.again_ = false;
    }
    OutSlot& slot;
  } delivering(*this);
  std::exception_ptr failure;
  try {
    first();
  } catch (...) {
    failure = std::current_exception();
  }
  // What others stored meanwhile counts on being delivered, whatever became of this value.
  while (std::exchange(again_, false)) {
    try {
      attached_.walk([this](InSlot<T>& in) { in.push(last_); });
    } catch (...) {
      if (failure == nullptr)
        failure = std::current_exception();
    }
  }
  if (failure != nullptr)
    std::rethrow_exception(failure);
}

template <class T>
void OutSlot<T>::setValue(const Data<T>& data) {
  const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Delivery);
  store(data);
}

template <class T>
Data<T> OutSlot<T>::getValue() const {
  const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Delivery);
  return last_;
}

template <class T>
void OutSlot<T>::connect(BasicInSlot* slot) {
  auto* const in = dynamic_cast<InSlot<T>*>(slot);
  if (in == nullptr)
    return;
  Restructuring::run([&] {
    connections_.add(in);
    in->connections_.add(this);
    connected_.store(true, std::memory_order_release);
    Restructuring::settle(*this, *in, {});
  });
}

// A side that has no connections to begin with is told to stop all the same: callers count on the call.
template <class T>
void OutSlot<T>::disconnect(BasicInSlot* slot) {
  auto* const in = dynamic_cast<InSlot<T>*>(slot);
  if (in == nullptr)
    return;
  Restructuring::run([&] {
    Restructuring::Stops stops{.outAgain = connections_.empty(), .inAgain = in->connections_.empty()};
    if (connections_.remove(in))
      attached_.remove(in);
    in->connections_.remove(this);
    connected_.store(!connections_.empty(), std::memory_order_release);
    stops.out = connections_.empty();
    stops.in = in->connections_.empty();
    Restructuring::settle(*this, *in, stops);
  });
}

template <class T>
void OutSlot<T>::settle(BasicInSlot& slot, Restructuring::Stops stops) {
  auto& in = static_cast<InSlot<T>&>(slot);
  const Use outUse(*this);
  const Use inUse(slot);
  if (connections_.find(&in) != nullptr)
    attach(in);
  else
    detach(in, stops);
}

// The in-slot is told first; its listeners may part the two again at once. The latest value is delivered before the
// out-slot is told, and before any value pushed from now on.
template <class T>
void OutSlot<T>::attach(InSlot<T>& in) {
  in.announceUse(true, false);
  std::exception_ptr failure;
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Yielding);
    auto* const connection = connections_.find(&in);
    if (connection == nullptr || connection->attached)
      return;
    connection->attached = true;
    attached_.add(&in);
    try {
      if (valid_ && deliverer_ == 0)
        deliver([&] { in.push(last_); });
      else if (valid_)
        in.push(last_);
    } catch (...) {
      failure = std::current_exception();
    }
  }
  announceUse(!connections_.empty(), false);
  if (failure != nullptr)
    std::rethrow_exception(failure);
}

// Taking the data mutex is the wait for a delivery under way.
template <class T>
void OutSlot<T>::detach(InSlot<T>& in, Restructuring::Stops stops) {
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Yielding);
    if (deliverer_ == 0)
      attached_.tidy();
  }
  if (stops.out && connections_.empty())
    announceUse(false, stops.outAgain);
  if (stops.in && in.connections_.empty())
    in.announceUse(false, stops.inAgain);
}

template <class T>
void InSlot<T>::connect(BasicOutSlot* slot) {
  if (auto* const out = dynamic_cast<OutSlot<T>*>(slot))
    out->connect(this);
}

template <class T>
void InSlot<T>::disconnect(BasicOutSlot* slot) {
  if (auto* const out = dynamic_cast<OutSlot<T>*>(slot))
    out->disconnect(this);
}

} // namespace Vantiflux
