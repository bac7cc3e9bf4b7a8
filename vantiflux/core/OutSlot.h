#pragma once

#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/ConnectionList.h>
#include <vantiflux/core/Data.h>
#include <vantiflux/core/Graveyard.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/TreeLock.h>
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
  bool isConnected() const override;

  /// Stores a copy of the value and delivers it to every connected in-slot, in the order of their connection.
  /// An exception of a listener ends the delivery and leaves through here.
  void push(const Data<T>& data);
  /// Sets the stored value without delivering it and without making it valid.
  void setValue(const Data<T>& data);
  /// A copy of the stored value, valid or not.
  Data<T> getValue() const;

private:
  friend class InSlot<T>;

  void deliver(const Data<T>& data);
  void store(const Data<T>& data) {
    if (&data != &last_)
      last_ = data;
  }
  void connectInSide(InSlot<T>& in);
  void connectOutSide(InSlot<T>& in);
  void disconnectOutSide(InSlot<T>& in);
  void disconnectInSide(InSlot<T>& in);

  ConnectionList<InSlot<T>> connections_; ///< all members are guarded by the data mutex
  Data<T> last_;
  Tarsil::ThreadId deliverer_ = 0; ///< the thread that delivers now
  bool again_ = false; ///< another thread, to whom the deliverer lent the slot, stored a value meanwhile
};

template <class T>
void OutSlot<T>::push(const Data<T>& data) {
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Delivery);
    store(data);
    valid_ = true;
    if (deliverer_ == 0)
      deliver(data);
    else if (deliverer_ != Tarsil::thisThread())
      again_ = true;
  }
  Graveyard::visit();
}

template <class T>
void OutSlot<T>::deliver(const Data<T>& data) {
  struct Delivering {
    explicit Delivering(OutSlot& s) : slot(s) { slot.deliverer_ = Tarsil::thisThread(); }
    ~Delivering() {
      slot.deliverer_ = 0;
      slot.again_ = false;
    }
    OutSlot& slot;
  } delivering(*this);
  connections_.walk([&](InSlot<T>& in) { in.push(data); });
  while (std::exchange(again_, false))
    connections_.walk([this](InSlot<T>& in) { in.push(last_); });
}

template <class T>
void OutSlot<T>::setValue(const Data<T>& data) {
  const Tarsil::MutexLock lock(dataMutex_);
  store(data);
}

template <class T>
Data<T> OutSlot<T>::getValue() const {
  const Tarsil::MutexLock lock(dataMutex_);
  return last_;
}

template <class T>
bool OutSlot<T>::isConnected() const {
  const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Delivery);
  return !connections_.empty();
}

// Both sides are told one after the other, the in-slot first, with no data mutex held while listeners run. A listener may
// part the two again at once: then the second half is left out.
template <class T>
void OutSlot<T>::connect(BasicInSlot* slot) {
  auto* const in = dynamic_cast<InSlot<T>*>(slot);
  if (in == nullptr)
    return;
  {
    const TreeLock tree;
    connectInSide(*in);
    connectOutSide(*in);
  }
  Graveyard::visit();
}

template <class T>
void OutSlot<T>::connectInSide(InSlot<T>& in) {
  bool first = false;
  {
    const Tarsil::MutexLock lock(in.dataMutex_);
    first = in.connections_.empty();
    in.connections_.add(this);
  }
  if (first)
    in.startInSlot();
}

template <class T>
void OutSlot<T>::connectOutSide(InSlot<T>& in) {
  {
    const Tarsil::MutexLock lock(in.dataMutex_);
    if (in.connections_.count(this) == 0)
      return;
  }
  bool first = false;
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Yielding);
    first = connections_.empty();
    if (!connections_.add(&in))
      return;
    if (valid_)
      in.push(last_);
  }
  if (first && isConnected())
    startOutSlot();
}

template <class T>
void OutSlot<T>::disconnect(BasicInSlot* slot) {
  auto* const in = dynamic_cast<InSlot<T>*>(slot);
  if (in == nullptr)
    return;
  {
    const TreeLock tree;
    disconnectOutSide(*in);
    disconnectInSide(*in);
  }
  Graveyard::visit();
}

// A side whose list is empty is stopped whether or not an entry went away just now: stopping is idempotent, and callers
// count on the call.
template <class T>
void OutSlot<T>::disconnectOutSide(InSlot<T>& in) {
  bool last = false;
  {
    const Tarsil::MutexLock lock(dataMutex_, Tarsil::Mutex::Wait::Yielding);
    connections_.remove(&in);
    last = connections_.empty();
  }
  if (last)
    stopOutSlot();
}

template <class T>
void OutSlot<T>::disconnectInSide(InSlot<T>& in) {
  bool last = false;
  {
    const Tarsil::MutexLock lock(in.dataMutex_);
    in.connections_.remove(this);
    last = in.connections_.empty();
  }
  if (last)
    in.stopInSlot();
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
