#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/ListenerSet.h>
#include <vantiflux/core/Slot.h>

namespace Vantiflux {

class BasicOutSlot;

/// The type-erased form of a slot that receives values.
class VANTIFLUX_API BasicInSlot : public Slot {
public:
  /// Is told what happens to a slot. All calls come with the slot's listeners mutex held: start and stop from the
  /// thread that connects, `newData` from the thread that pushed the value. A slow listener holds up the writer.
  /// Listeners may call back, remove slots, routes and nodes, and end the thread that they run on.
  class VANTIFLUX_API Listener {
  public:
    virtual ~Listener();
    /// The first connection has come.
    virtual void startInSlot(BasicInSlot&) {}
    /// The last connection has gone.
    virtual void stopInSlot(BasicInSlot&) {}
    /// The slot holds a new value.
    virtual void newData(BasicInSlot&) {}
  };

  explicit BasicInSlot(std::string description);
  ~BasicInSlot() override;

  Direction getDirection() const override { return In; }

  /// Whether there is no value that `pop` has not taken yet.
  virtual bool empty() const = 0;
  /// Joins this slot with an out-slot of the same value type, once more if they are joined already; null and other
  /// types are ignored. Holds the lock of structure; starts both slots' listeners and delivers the stored value, if
  /// valid.
  virtual void connect(BasicOutSlot* slot) = 0;
  /// Takes one connection back. When it returns for the last one, no delivery between the two is under way but those
  /// that this thread itself runs under. Two listeners that disconnect each other's slots at the same time cannot both
  /// wait: one of them returns first, so they must not destroy the slots before their own calls have ended.
  virtual void disconnect(BasicOutSlot* slot) = 0;
  virtual void startInSlot();
  virtual void stopInSlot();
  virtual void newData();

  /// Adding a present listener does nothing. When `removeListener` returns, no call of the listener is under way but
  /// those that this thread itself runs under, and those that wait for this thread (as with `disconnect`).
  void addListener(Listener& listener);
  void removeListener(Listener& listener);

  /// The two operations of a semaphore that counts values ready for `pop`. `down` blocks while there is none.
  void up() const;
  void down() const;

  /// Wakes one reader: the next `pop` or `top` throws InterruptedException.
  void interrupt();

protected:
  /// Calls the start or stop listeners if the slot has come into use, or gone out of it, since they were called last;
  /// the stop listeners of an unused slot once more if `again`. Needs the lock of structure.
  void announceUse(bool used, bool again);

  /// The halves of the semaphore for who holds the data mutex, once; `take` releases it while it waits.
  void give() const {
    ++ready_;
    if (readers_ != 0)
      wakeReader();
  }
  void take() const {
    if (ready_ == 0)
      waitReady();
    --ready_;
  }

  bool interrupted_ = false; ///< guarded by the data mutex

private:
  void wakeReader() const;
  void waitReady() const TARSIL_NO_ANALYSIS;

  // Kept under the data mutex, which every reader and writer takes anyway, rather than in a semaphore of its own.
  mutable std::uint32_t ready_ = 0;   ///< the count
  mutable std::uint32_t readers_ = 0; ///< threads in waitReady
  mutable std::atomic<std::uint32_t> wakes_{0};

  bool started_ = false;            ///< what the listeners were told last; guarded by the lock of structure
  ListenerSet<Listener> listeners_; ///< guarded by the listeners mutex
};

} // namespace Vantiflux
