#pragma once

#include <atomic>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/ExternalRoute.h>
#include <vantiflux/core/InvalidFieldException.h>
#include <vantiflux/core/InvalidNamespaceException.h>
#include <vantiflux/core/LabeledSlot.h>
#include <vantiflux/core/ListenerSet.h>
#include <vantiflux/core/PatternIndex.h>
#include <vantiflux/core/Route.h>
#include <vantiflux/core/RouteTable.h>
#include <vantiflux/core/SlotTable.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/pelorn/URL.h>

namespace Vantiflux {

class Node;

/// A container that gives slots their labels and holds children, routes, external routes and field values. The tree of
/// namespaces is also the tree of nodes. All labels are compared without regard to case (see Labels).
///
/// *States.* Disabled, slots and rules are only recorded. Enabled, they are effective: slots are connected as routes
/// and equal labels say, and external routes publish them in the parent. Enabling reaches down the tree, disabling too.
///
/// *Threads.* Any thread may call any operation. Whatever reads or changes the structure takes the lock of structure
/// (TreeLock) and calls listeners and nodes under it. A caller that keeps a pointer or makes several steps holds the
/// root lock besides (Root), which comes first. Every operation may be called from inside a listener, from a worker
/// that the operation itself stops, and on the namespace in which the caller's own value is just being delivered.
///
/// *Lifetime.* A namespace owns its children, but not its slots: a slot outlives its entry. `delete` of a namespace
/// whose worker, delivery or structural operation is still on a stack takes it out of service at once and destroys it
/// when that has ended (see Graveyard).
///
/// *Failure.* Look-ups by name throw. Removing what is not there is ignored. An exception of `initialize` leaves
/// through the caller, and the namespace is not enabled; one of a listener, of `shutdown` or of a child does so after
/// the rest of the operation has been carried out.
class VANTIFLUX_API Namespace {
public:
  using Route = Vantiflux::Route;
  using ExternalRoute = Vantiflux::ExternalRoute;
  using LabeledOutSlot = Vantiflux::LabeledOutSlot;
  using LabeledInSlot = Vantiflux::LabeledInSlot;
  using LabeledSlot = Vantiflux::LabeledSlot;

  /// Is told of changes in one namespace, enabled or not. Calls come from the thread that makes the change, with the
  /// lock of structure held. `clearRoutes` tells nobody.
  class VANTIFLUX_API Listener {
  public:
    virtual ~Listener();
    virtual void outSlotAdded(Namespace&, const std::string& /*label*/, BasicOutSlot*) {}
    virtual void outSlotRemoved(Namespace&, const std::string& /*label*/, BasicOutSlot*) {}
    virtual void inSlotAdded(Namespace&, const std::string& /*label*/, BasicInSlot*) {}
    virtual void inSlotRemoved(Namespace&, const std::string& /*label*/, BasicInSlot*) {}
    virtual void routeAdded(Namespace&, const std::string& /*from*/, const std::string& /*to*/) {}
    virtual void routeRemoved(Namespace&, const std::string& /*from*/, const std::string& /*to*/) {}
  };

  Namespace();
  /// A derived class with a `shutdown` of its own calls `disable` in its own destructor, so that a namespace that is
  /// not on the heap shuts down too.
  virtual ~Namespace();
  Namespace(const Namespace&) = delete;
  Namespace& operator=(const Namespace&) = delete;

  /// Makes the namespace effective: `initialize`, then connections and exports, then the children. Ignored if enabled.
  virtual void enable();
  /// The reverse, `shutdown` last. When it returns no worker of the subtree runs any more but those that this call came
  /// from.
  virtual void disable();
  virtual std::string typeName() const;
  /// Whether the contents are to be written to a saved file.
  virtual bool saveState() const;

  virtual void setFieldValue(const std::string& name, const std::string& value);
  /// Throws InvalidFieldException, with an empty message, for an unknown name.
  virtual std::string getFieldValue(const std::string& name) const;
  /// Replaces the contents with the names, in the order of their lower-cased form.
  virtual void getFieldNames(std::vector<std::string>& names) const;
  /// Calls setFieldValue for each pair of a parameter line. Throws Config::ParamLine::Exception for a malformed one.
  void setFieldValues(const std::string& line);

  virtual void removeSlot(const std::string& label, Slot* slot);
  /// Append every entry whose label matches the pattern, in the order of adding.
  virtual void getSlots(const std::string& pattern, Slot::Direction direction, std::vector<LabeledSlot>& slots) const;

  /// Adds an entry, connects and publishes the slot. The same slot under the same label is counted.
  virtual void addOutSlot(const std::string& label, BasicOutSlot* slot);
  /// Takes one `add` back; with the last one the entry goes, disconnected and withdrawn.
  virtual void removeOutSlot(const std::string& label, BasicOutSlot* slot);
  virtual void getOutSlots(const std::string& pattern, std::vector<LabeledOutSlot>& slots) const;
  virtual void addInSlot(const std::string& label, BasicInSlot* slot);
  virtual void removeInSlot(const std::string& label, BasicInSlot* slot);
  virtual void getInSlots(const std::string& pattern, std::vector<LabeledInSlot>& slots) const;

  /// The first entry whose label matches and that holds the slot (null: any); null when there is none. Valid until the
  /// entry is removed.
  const LabeledOutSlot* findOutSlot(const std::string& label, const BasicOutSlot* slot) const;
  const LabeledInSlot* findInSlot(const std::string& label, const BasicInSlot* slot) const;

  /// Adds a child and enables it if this namespace is enabled. Returns the label it got, made unique by a number. A
  /// child whose enabling throws has been added all the same. A null child is ignored.
  std::string addNamespace(const std::string& label, std::unique_ptr<Namespace> child);
  std::string addNamespace(const std::string& label, std::unique_ptr<Node> child);
  /// Labels the node by its type name.
  std::string addNamespace(std::unique_ptr<Node> child);
  template <std::derived_from<Namespace> Derived>
  std::string addNamespace(const std::string& label, std::unique_ptr<Derived> child) {
    return addNamespace(label, std::unique_ptr<Namespace>(std::move(child)));
  }
  /// Gives a child back, disabled. Throws InvalidNamespaceException for an unknown label, as does getNamespace.
  std::unique_ptr<Namespace> removeNamespace(const std::string& label);
  Namespace* getNamespace(const std::string& label) const;
  /// The children, in the order of their lower-cased labels.
  std::vector<Namespace*> getNamespaces() const;
  /// The label itself if no child has it, otherwise with the first free number behind it, from 2.
  std::string createUniqueLabel(const std::string& label) const;
  void clearNamespaces();
  /// Removes routes, external routes, children and field values. Slots stay.
  void clear();

  /// Adds a route, unless one is there that is equal but for case, and connects what it joins.
  void addRoute(const std::string& from, const std::string& to);
  void removeRoute(const std::string& from, const std::string& to);
  /// The route with these patterns, compared as texts without case; null when there is none.
  const Route* findRoute(const std::string& from, const std::string& to) const;
  /// Removes all routes. Listeners are not told.
  void clearRoutes();
  void getRoutes(std::vector<Route>& routes) const;
  /// Replace the contents with the routes whose `from`, or `to`, taken as the pattern, matches the label.
  void getRoutesFrom(const std::string& label, std::vector<Route>& routes) const;
  void getRoutesTo(const std::string& label, std::vector<Route>& routes) const;
  /// Append what is joined to slots of this label: by routes, in their order, then by the equal label. A slot that is
  /// reached twice stands there twice.
  void getRoutedOutSlots(const std::string& label, std::vector<LabeledOutSlot>& slots) const;
  void getRoutedInSlots(const std::string& label, std::vector<LabeledInSlot>& slots) const;

  void addExternalRoute(const std::string& internal, const std::string& external);
  void removeExternalRoute(const std::string& internal, const std::string& external);
  const ExternalRoute* findExternalRoute(const std::string& internal, const std::string& external) const;
  void clearExternalRoutes();
  void getExternalRoutes(std::vector<ExternalRoute*>& routes) const;
  /// All external routes that publish slots of this label, in list order.
  std::vector<ExternalRoute*> getExternalRoutesForInternal(const std::string& label) const;
  /// Append what the parent gets from this namespace, under the labels that it has there.
  void getExportedOutSlots(const std::string& pattern, std::vector<LabeledOutSlot>& slots) const;
  void getExportedInSlots(const std::string& pattern, std::vector<LabeledInSlot>& slots) const;

  bool enabled() const noexcept { return enabled_.load(std::memory_order_acquire); }
  /// Whether the saved form of the tree is out of date. Set by changes of routes and children, upwards through the
  /// parents; cleared by the host alone, downwards through the children.
  bool dirty() const noexcept { return dirty_.load(std::memory_order_acquire); }
  void setDirty(bool dirty);
  /// Null at the top of a tree.
  Namespace* getParent() const;
  /// Empty until the namespace is added to a parent.
  const std::string& getLabel() const noexcept { return label_; }
  /// What relative locations in this namespace are resolved against.
  Pelorn::URL getBaseURL() const;
  void setBaseURL(const Pelorn::URL& url);

  /// Adding a present listener does nothing.
  void addListener(Listener& listener);
  void removeListener(Listener& listener);

  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, std::align_val_t alignment);
  static void operator delete(Namespace* self, std::destroying_delete_t);
  /// Give memory back whose constructor threw.
  static void operator delete(void* memory) noexcept;
  static void operator delete(void* memory, std::align_val_t alignment) noexcept;

protected:
  /// Called before the namespace connects and before its children are enabled.
  virtual void initialize();
  /// Called after it was disconnected and after its children were disabled.
  virtual void shutdown();

  /// Keeps the object alive while a worker runs for it or an operation works on it. Counted.
  void pin() noexcept { pins_.fetch_add(1, std::memory_order_relaxed); }
  /// After this the object may be gone.
  void unpin() noexcept;

  /// Held by every structural operation: the lock of structure and a pin.
  class VANTIFLUX_API TARSIL_SCOPED_CAPABILITY Change {
  public:
    explicit Change(const Namespace& changed) TARSIL_ACQUIRE(treeMutex());
    ~Change() TARSIL_RELEASE();
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;

  private:
    Namespace& changed_;
  };

private:
  friend class Graveyard;
  friend class NodeWorker;
  friend class Restructuring;

  /// Keeps another namespace alive for the length of a scope.
  class Pin {
  public:
    explicit Pin(Namespace& pinned) : pinned_(pinned) { pinned_.pin(); }
    ~Pin() { pinned_.unpin(); }
    Pin(const Pin&) = delete;
    Pin& operator=(const Pin&) = delete;

  private:
    Namespace& pinned_;
  };

  class Phase;
  template <class BasicSlot>
  struct Side;

  template <class BasicSlot>
  void addSlot(const std::string& label, BasicSlot* slot);
  template <class BasicSlot>
  void removeSlotOf(const std::string& label, BasicSlot* slot);
  template <class BasicSlot>
  void getExported(const ExternalRoute& route, const std::string& pattern,
                   std::vector<LabeledSlotOf<BasicSlot>>& slots) const;
  template <class BasicSlot>
  void publish(const std::vector<LabeledSlotOf<BasicSlot>>& exported, bool add);
  void publish(const ExternalRoute& route, bool add);
  void publishAll(bool add);
  std::vector<std::string> externalLabels(const std::string& label) const;
  void joinRoute(const Route& route, bool connect);
  static void join(BasicOutSlot* out, BasicInSlot* in, bool connect);
  void joinAll(bool connect);
  void tell(const Slot* about, std::function<void(Listener&)> call);
  bool dropRoute(const Route* route);
  bool dropExternalRoute(const ExternalRoute* route);
  void forEachChild(const std::function<bool(Namespace&)>& visit) const;
  std::unique_ptr<Namespace> takeChild(const std::string& key, const Namespace* wanted = nullptr);
  void dropChildren();
  std::string unknownChild(const std::string& label) const;
  bool isInUse() const;
  void keepForReaders(bool wasInTree);
  bool isInTree() const;

  // All members but the last four are guarded by the lock of structure; the two flags are also read without it.
  Namespace* parent_ = nullptr;
  std::atomic<bool> enabled_{false};
  bool enabling_ = false; ///< `enable`, or `disable`, is under way further out on the stack
  bool disabling_ = false;
  bool turnAround_ = false; ///< and the opposite was asked for meanwhile
  std::string label_;
  mutable SlotTable<BasicOutSlot> outSlots_;
  mutable SlotTable<BasicInSlot> inSlots_;
  std::list<ExternalRoute> externalRoutes_;
  std::unordered_map<std::string, std::list<ExternalRoute>::iterator> externalByKey_; ///< by both patterns
  PatternIndex<ExternalRoute> externalByInternal_;
  RouteTable routes_;
  std::map<std::string, std::unique_ptr<Namespace>> children_;    ///< by lower-cased label
  mutable std::unordered_map<std::string, unsigned> labelCounts_; ///< by label asked for: numbers below are taken
  std::atomic<bool> dirty_{false};
  ListenerSet<Listener> listeners_;

  std::uint64_t keptUntil_ = 0; ///< how often the root lock must have been released before this may be destroyed

  std::atomic<int> pins_{0};      ///< users that the object must outlive
  mutable std::mutex valuesLock_; ///< innermost; guards the next two
  Pelorn::URL baseURL_;
  std::map<std::string, std::pair<std::string, std::string>> fields_; ///< by lower-cased name: name and value
};

} // namespace Vantiflux
