#pragma once

#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/ListenerSet.h>
#include <vantiflux/core/Restructuring.h>
#include <vantiflux/core/Slot.h>

namespace Vantiflux {

class BasicInSlot;

/// The type-erased form of a slot that sends values.
class VANTIFLUX_API BasicOutSlot : public Slot {
public:
  /// Is told when a slot comes into use and goes out of use. Calls come with the slot's listeners mutex held, from the
  /// thread that connects.
  class VANTIFLUX_API Listener {
  public:
    virtual ~Listener();
    /// The first connection has come.
    virtual void startOutSlot(BasicOutSlot&) {}
    /// The last connection has gone.
    virtual void stopOutSlot(BasicOutSlot&) {}
  };

  explicit BasicOutSlot(std::string description);
  ~BasicOutSlot() override;

  Direction getDirection() const override { return Out; }

  /// As in BasicInSlot, seen from the other side.
  virtual void connect(BasicInSlot* slot) = 0;
  virtual void disconnect(BasicInSlot* slot) = 0;
  /// A new in-slot of the same value type with an empty description: how generic code gets a reader for a slot of a
  /// type that it does not know.
  virtual std::unique_ptr<BasicInSlot> createMatchingInSlot() const = 0;
  virtual void startOutSlot();
  virtual void stopOutSlot();
  /// Whether an in-slot is connected now. For producers that save work when nobody listens.
  virtual bool isConnected() const = 0;

  /// As in BasicInSlot.
  void addListener(Listener& listener);
  void removeListener(Listener& listener);

  /// A connection made from now on gets no value until the next `push`. Blocks while a value is being delivered.
  void invalidateValue();

protected:
  friend class Restructuring;

  /// Brings the connection with an in-slot into effect or, if it is no longer there, out of it (see Restructuring).
  virtual void settle(BasicInSlot& slot, Restructuring::Stops stops) = 0;
  /// As in BasicInSlot.
  void announceUse(bool used, bool again);

  bool valid_ = false; ///< the stored value is one that a new connection gets; guarded by the data mutex

private:
  bool started_ = false;            ///< what the listeners were told last; guarded by the lock of structure
  ListenerSet<Listener> listeners_; ///< guarded by the listeners mutex
};

} // namespace Vantiflux
