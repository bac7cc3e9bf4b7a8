#pragma once

#include <atomic>
#include <string>
#include <typeinfo>

#include <vantiflux/Export.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// The end point of a data connection. A slot has a description but no label: labels stand in the namespaces that hold
/// the slot, and several may name the same one.
///
/// *Threads.* Any thread may call any operation. Each slot has two recursive mutexes. The data mutex guards the value;
/// an out-slot's is held while a value is delivered, so deliveries of one slot follow each other. The listeners mutex
/// is held while listeners run. The order is: listeners mutex before data mutex of one slot, an out-slot's before those
/// of its in-slots. Connections are guarded by the lock of structure (TreeLock), which comes before all of these.
///
/// *Lifetime.* Remove a slot from its namespaces before it is destroyed; destroying it does not disconnect it.
class VANTIFLUX_API Slot {
public:
  enum Direction { In = 0, Out = 1 };

  virtual ~Slot();
  Slot(const Slot&) = delete;
  Slot& operator=(const Slot&) = delete;

  /// The printable name of the value type, `TypeName<T>::getName()`. It may hold HTML entities.
  virtual const char* getTypeName() const = 0;
  /// The identity of the value type.
  virtual const std::type_info& getTypeID() const = 0;
  virtual Direction getDirection() const = 0;

  const std::string& getDescription() const noexcept { return description_; }

  /// For callers who look at several things at once. While they wait, the library may lend what this thread holds to a
  /// thread that would otherwise wait for this one for ever (see Tarsil::Mutex), as if that thread's work were called
  /// from here.
  void lock() const TARSIL_ACQUIRE(dataMutex_) { dataMutex_.lock(Tarsil::Mutex::Wait::Delivery); }
  void unlock() const TARSIL_RELEASE(dataMutex_) { dataMutex_.unlock(); }
  void listenersLock() const TARSIL_ACQUIRE(listenersMutex_) { listenersMutex_.lock(Tarsil::Mutex::Wait::Yielding); }
  void listenersUnlock() const TARSIL_RELEASE(listenersMutex_) { listenersMutex_.unlock(); }

  /// Whether a delivery or a call of listeners is under way on some thread, this one included.
  bool isInUse() const noexcept {
    return uses_.load(std::memory_order_seq_cst) != 0 || dataMutex_.isInUse() || listenersMutex_.isInUse();
  }

protected:
  /// Marks the slot as in use for the length of a scope.
  class Use {
  public:
    explicit Use(const Slot& slot) : slot_(slot) { slot_.uses_.fetch_add(1, std::memory_order_relaxed); }
    ~Use() { slot_.uses_.fetch_sub(1, std::memory_order_seq_cst); }
    Use(const Use&) = delete;
    Use& operator=(const Use&) = delete;

  private:
    const Slot& slot_;
  };

  Slot(std::string description, Tarsil::Mutex::Kind dataKind, Tarsil::Mutex::Kind listenersKind);

  mutable Tarsil::Mutex dataMutex_;
  mutable Tarsil::Mutex listenersMutex_;

private:
  mutable std::atomic<int> uses_{0};
  const std::string description_;
};

} // namespace Vantiflux
