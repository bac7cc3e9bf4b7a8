#pragma once

#include <array>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/NodeType.h>

namespace Vantiflux {

/// A namespace that does work: a device driver, a filter, a service. It runs only while one of its slots is in use, has
/// a state that people can read, and is configured through the fields of its type.
///
/// A node's constructor makes its slots, adds each with `attachSlot`, which registers the node as the slot's listener
/// (or with `addOutSlot` and `addInSlot`, if the slot is not to make the node run), and publishes them with
/// `publishSlots`. A filter overrides `newData`, which runs in the writer's thread. A device has a worker thread:
/// ThreadedNode, or a NodeWorker of its own.
///
/// *States.* Sleeping when made and when initialised; Running and Sleeping as the node itself says; Error when it
/// failed, with the reason in the short info; Disabled after `shutdown`.
///
/// *Threads.* State, short info and log have a mutex of their own, innermost and never held while anything is called: a
/// worker reports at any time, also while it is being stopped. `start` and `stop` are called with the lock of structure
/// held, from the thread that connected or disconnected a slot, or from a worker that has just ended.
///
/// *Failure.* A node does not throw for trouble with its device: it sets Error and a short text, and adds to its log.
class VANTIFLUX_API Node : public Namespace, public BasicOutSlot::Listener, public BasicInSlot::Listener {
public:
  enum State : int { Running = 0, Sleeping = 1, Error = 2, Disabled = 3 };

  Node();
  ~Node() override;

  State getState() const;
  void setState(State state);
  void setState(State state, const std::string& shortInfo);
  /// Puts `next` in the place of the state `from`, and says whether it did: any other state stays.
  bool changeState(State from, State next);
  std::string getShortInfo() const;
  void setShortInfo(const std::string& shortInfo);
  /// The word that people see for a state; "[NA]" for anything that is none.
  static const char* stateName(State state) noexcept;

  /// Keeps the line, and with it the 19 latest.
  void addLog(const std::string& line);
  /// Replaces the contents with the lines, the oldest first.
  void getLog(std::vector<std::string>& lines) const;

  /// The name of the type, or "Node".
  std::string typeName() const override;
  /// A declared field goes through its accessor, any other is stored by the namespace.
  void setFieldValue(const std::string& name, const std::string& value) override;
  std::string getFieldValue(const std::string& name) const override;
  /// What a saved file has to hold: the stored names, then those declared fields that differ from their default.
  void getFieldNames(std::vector<std::string>& names) const override;

  /// Free text for the node's page, in HTML.
  virtual std::string getDetailedInfo() const;
  /// The registry entry of the class, null if it has none.
  virtual const NodeType* type() const;
  /// Begin and end the node's work. When `stop` returns, the work has ended, unless it was called from that very work.
  virtual void start();
  virtual void stop();

  // Of the slots' listeners: the first slot that comes into use starts the node, the last one to go stops it.
  void startOutSlot(BasicOutSlot& slot) override;
  void stopOutSlot(BasicOutSlot& slot) override;
  void startInSlot(BasicInSlot& slot) override;
  void stopInSlot(BasicInSlot& slot) override;

protected:
  void initialize() override;
  void shutdown() override;

  /// Adds a slot of the node's own, and registers the node as its listener, so that the node runs while it is in use.
  void attachSlot(const std::string& label, BasicOutSlot& slot);
  void attachSlot(const std::string& label, BasicInSlot& slot);

  /// For a worker at the end of its run: Running becomes Sleeping. What was reported instead stays, and so does
  /// Disabled after a shutdown from inside the run.
  void reportEnd() { changeState(Running, Sleeping); }

  /// Adds the external route that publishes all slots in the parent as "label of the node/label of the slot".
  void publishSlots();

private:
  friend class Graveyard;

  static constexpr std::uint32_t logCapacity = 20;

  void slotStarted();
  void slotStopped();
  const Field* findField(const std::string& name) const;
  bool hasAttached(const Slot& slot) const;

  std::vector<const Slot*> attached_; ///< to know them by; guarded by the lock of structure
  std::int32_t startedSlots_ = 0;     ///< guarded by the lock of structure

  mutable std::mutex reportLock_; ///< innermost; guards the rest
  State state_ = Sleeping;
  std::string shortInfo_;
  std::uint32_t logRead_ = 0;
  std::uint32_t logWrite_ = 0;
  std::array<std::string, logCapacity> log_; ///< a ring; one place is always free
};

} // namespace Vantiflux
