#pragma once

#include <string>
#include <typeinfo>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/ConnectionList.h>
#include <vantiflux/core/Data.h>
#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/core/TypeName.h>

namespace Vantiflux {

template <class T>
class VANTIFLUX_API OutSlot;

/// Receives values of one type. Holds one value, the latest: a value that nobody took is overwritten.
///
/// *Threads.* `push` runs in the writer's thread and calls the listeners there. `pop` blocks its caller.
template <class T>
class VANTIFLUX_API InSlot : public BasicInSlot {
public:
  explicit InSlot(std::string description = {}) : BasicInSlot(std::move(description)) {}
  ~InSlot() override = default;

  const char* getTypeName() const override { return TypeName<T>::getName(); }
  const std::type_info& getTypeID() const override { return typeid(T); }
  bool empty() const override;
  void connect(BasicOutSlot* slot) override;
  void disconnect(BasicOutSlot* slot) override;

  /// The held value, whether it was taken before or not; the default value with time stamp 0 before the first one.
  /// Never blocks. Throws InterruptedException after `interrupt`.
  virtual Data<T> top();
  /// Takes the held value; blocks until there is one that was not taken. Throws InterruptedException after `interrupt`.
  virtual Data<T> pop();
  /// Stores a copy of the value and calls the listeners' `newData`. Usually called by the out-slot.
  virtual void push(const Data<T>& data);

protected:
  /// Throws if the slot is interrupted, clearing that. Needs the data mutex.
  void checkInterrupted();

private:
  friend class OutSlot<T>;

  ConnectionList<BasicOutSlot> connections_; ///< guarded by the lock of structure
  Data<T> held_;                             ///< this and the flag are guarded by the data mutex
  bool empty_ = true;
};

template <class T>
bool InSlot<T>::empty() const {
  const Tarsil::MutexLock lock(dataMutex_);
  return empty_;
}

template <class T>
void InSlot<T>::checkInterrupted() {
  if (!interrupted_)
    return;
  interrupted_ = false;
  throw InterruptedException();
}

template <class T>
Data<T> InSlot<T>::top() {
  const Tarsil::MutexLock lock(dataMutex_);
  checkInterrupted();
  return held_;
}

template <class T>
Data<T> InSlot<T>::pop() {
  const Tarsil::MutexLock lock(dataMutex_);
  take();
  checkInterrupted();
  empty_ = true;
  return held_;
}

template <class T>
void InSlot<T>::push(const Data<T>& data) {
  {
    const Tarsil::MutexLock lock(dataMutex_);
    if (empty_) {
      empty_ = false;
      give();
    }
    if (&data != &held_)
      held_ = data;
  }
  newData();
}

} // namespace Vantiflux
