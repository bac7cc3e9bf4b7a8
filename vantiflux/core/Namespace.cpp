#include <vantiflux/core/Namespace.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <exception>

#include <vantiflux/core/Graveyard.h>
#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/Restructuring.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/core/SlotVisit.h>

namespace Vantiflux {

Namespace::Listener::~Listener() = default;

Namespace::Namespace() = default;

Namespace::~Namespace() {
  Namespace::disable();
  // The children go while the lock of structure is free: the end of a worker may need it.
  dropChildren();
}

// Memory of the C library's, for one way of giving it back whatever the alignment; and out of line, or else g++ takes a
// destroying delete for one that does not match.
void* Namespace::operator new(std::size_t size) {
  return operator new(size, std::align_val_t{alignof(std::max_align_t)});
}

void* Namespace::operator new(std::size_t size, std::align_val_t alignment) {
  const auto unit = static_cast<std::size_t>(alignment);
  void* const memory = std::aligned_alloc(unit, (size + unit - 1) / unit * unit);
  if (memory == nullptr)
    throw std::bad_alloc();
  return memory;
}

void Namespace::operator delete(Namespace* self, std::destroying_delete_t) {
  Graveyard::bury(self);
}

void Namespace::operator delete(void* memory) noexcept {
  std::free(memory);
}

void Namespace::operator delete(void* memory, std::align_val_t) noexcept {
  std::free(memory);
}

/// Sets a flag for the length of a scope.
class Namespace::Phase {
public:
  explicit Phase(bool& flag) : flag_(flag) { flag_ = true; }
  ~Phase() { flag_ = false; }
  Phase(const Phase&) = delete;
  Phase& operator=(const Phase&) = delete;

private:
  bool& flag_;
};

namespace {

/// Lets an operation that must be carried out whole go on after a call back threw.
class Failures {
public:
  template <class Step>
  void collect(Step&& step) {
    try {
      step();
    } catch (...) {
      if (first_ == nullptr)
        first_ = std::current_exception();
    }
  }
  void rethrowFirst() const {
    if (first_ != nullptr)
      std::rethrow_exception(first_);
  }

private:
  std::exception_ptr first_;
};

} // namespace

Namespace::Change::Change(const Namespace& changed) : changed_(const_cast<Namespace&>(changed)) {
  treeMutex().lock(Tarsil::Mutex::Wait::Yielding);
  changed_.pin();
}

Namespace::Change::~Change() {
  Namespace& changed = changed_;
  treeMutex().unlock();
  changed.unpin();
}

void Namespace::unpin() noexcept {
  pins_.fetch_sub(1, std::memory_order_seq_cst);
  Graveyard::visit();
}

// A slot counts that delivers, that runs listeners or is visited, on any thread: this one's members are on its stack.
bool Namespace::isInUse() const {
  if (pins_.load(std::memory_order_seq_cst) != 0 || SlotVisit::isVisited(*this))
    return true;
  const TreeLock lock;
  if (Root::releases_.load(std::memory_order_seq_cst) < keptUntil_ && Root::mutex().isLocked())
    return true;
  const auto anyInUse = [](const auto& entries) {
    return std::any_of(entries.begin(), entries.end(),
                       [](const auto& entry) { return entry.slot->isInUse() || SlotVisit::isVisited(*entry.slot); });
  };
  return anyInUse(outSlots_.entries()) || anyInUse(inSlots_.entries());
}

// Who holds the root lock counts on the pointers that he took from the tree: what another thread takes out of the tree
// meanwhile is kept until the lock is released, and so is what a borrower of the lock takes out anywhere. The count is
// read before the lock is looked at: a release in between then counts.
void Namespace::keepForReaders(bool wasInTree) {
  const std::uint64_t releases = Root::releases_.load(std::memory_order_seq_cst);
  const Tarsil::Mutex& root = Root::mutex();
  if (root.isLent() || (wasInTree && root.isLocked() && !root.isLockedByThisThread()))
    keptUntil_ = releases + 1;
}

bool Namespace::isInTree() const {
  const Namespace* top = this;
  while (top->parent_ != nullptr)
    top = top->parent_;
  return top == Root::the_; // also on its way out with the process
}

// What is asked for from inside, by something that `initialize`, `shutdown` or a child calls back, takes effect when
// the operation under way is through.
void Namespace::enable() {
  const Change change(*this);
  if (disabling_)
    turnAround_ = true;
  if (enabled_ || enabling_ || disabling_)
    return;
  turnAround_ = false;
  {
    const Phase phase(enabling_);
    SlotVisit::awaitEnd(*this); // those who write into slots of a disabled namespace as well
    initialize();
  }
  if (std::exchange(turnAround_, false)) {
    shutdown();
    return;
  }
  Failures failures;
  failures.collect([this] {
    Restructuring::run([this] {
      enabled_.store(true, std::memory_order_release);
      publishAll(true);
      joinAll(true);
    });
  });
  forEachChild([&](Namespace& child) {
    if (!enabled_) // a call back disabled this namespace again
      return false;
    failures.collect([&child] { child.enable(); });
    return true;
  });
  failures.rethrowFirst();
}

void Namespace::disable() {
  const Change change(*this);
  if (enabling_)
    turnAround_ = true;
  if (disabling_)
    turnAround_ = false;
  if (!enabled_)
    return;
  turnAround_ = false;
  Failures failures;
  {
    const Phase phase(disabling_);
    failures.collect([this] {
      Restructuring::run([this] {
        enabled_.store(false, std::memory_order_release);
        joinAll(false);
        publishAll(false);
      });
    });
    failures.collect([this] { SlotVisit::awaitEnd(*this); });
    forEachChild([&](Namespace& child) {
      failures.collect([&child] { child.disable(); });
      return true;
    });
    failures.collect([this] { shutdown(); });
  }
  if (std::exchange(turnAround_, false))
    failures.collect([this] { enable(); });
  failures.rethrowFirst();
}

void Namespace::initialize() {}

void Namespace::shutdown() {}

std::string Namespace::typeName() const {
  return "Namespace";
}

bool Namespace::saveState() const {
  return true;
}

// Walks the children by their keys, because a call back may take any of them out.
void Namespace::forEachChild(const std::function<bool(Namespace&)>& visit) const {
  for (auto at = children_.begin(); at != children_.end();) {
    const std::string key = at->first;
    if (!visit(*at->second))
      return;
    at = children_.upper_bound(key);
  }
}

std::string Namespace::addNamespace(const std::string& label, std::unique_ptr<Namespace> child) {
  if (child == nullptr)
    return {};
  const Change change(*this);
  Namespace& added = *child;
  const Pin childPin(added);
  added.label_ = createUniqueLabel(label);
  added.parent_ = this;
  children_.emplace(Labels::lower(added.label_), std::move(child));
  setDirty(true);
  if (added.enabled_)
    Restructuring::run([&added] { added.publishAll(true); });
  if (enabled_ && added.parent_ == this) // a call back may have taken it away
    added.enable();
  return added.label_;
}

std::string Namespace::addNamespace(const std::string& label, std::unique_ptr<Node> child) {
  return addNamespace(label, std::unique_ptr<Namespace>(std::move(child)));
}

std::string Namespace::addNamespace(std::unique_ptr<Node> child) {
  const std::string label = child == nullptr ? std::string() : child->typeName();
  return addNamespace(label, std::move(child));
}

// The child of that key; with `wanted`, only if it is that one.
std::unique_ptr<Namespace> Namespace::takeChild(const std::string& key, const Namespace* wanted) {
  const TreeLock lock;
  const auto found = children_.find(key);
  if (found == children_.end() || (wanted != nullptr && found->second.get() != wanted))
    return nullptr;
  std::unique_ptr<Namespace> child = std::move(found->second);
  children_.erase(found);
  child->keepForReaders(isInTree());
  // What was taken out of the tree further up is looked at as a whole.
  for (const Namespace* at = this; at != nullptr; at = at->parent_)
    child->keptUntil_ = std::max(child->keptUntil_, at->keptUntil_);
  labelCounts_.clear();
  return child;
}

std::string Namespace::unknownChild(const std::string& label) const {
  return "Namespace \"" + label_ + "\" does not contain the subnamespace \"" + label + "\"";
}

std::unique_ptr<Namespace> Namespace::removeNamespace(const std::string& label) {
  const Change change(*this);
  std::unique_ptr<Namespace> child = takeChild(Labels::lower(label));
  if (child == nullptr)
    throw InvalidNamespaceException(unknownChild(label));
  setDirty(true);
  child->disable();
  child->parent_ = nullptr;
  return child;
}

Namespace* Namespace::getNamespace(const std::string& label) const {
  const TreeLock lock;
  const auto found = children_.find(Labels::lower(label));
  if (found == children_.end())
    throw InvalidNamespaceException(unknownChild(label));
  return found->second.get();
}

std::vector<Namespace*> Namespace::getNamespaces() const {
  const TreeLock lock;
  std::vector<Namespace*> result;
  result.reserve(children_.size());
  for (const auto& [key, child] : children_)
    result.push_back(child.get());
  return result;
}

std::string Namespace::createUniqueLabel(const std::string& label) const {
  const TreeLock lock;
  if (children_.find(Labels::lower(label)) == children_.end())
    return label;
  unsigned& count = labelCounts_[Labels::lower(label)];
  for (count = count < 2 ? 2 : count;; ++count) {
    std::string candidate = label + ' ' + std::to_string(count);
    if (children_.find(Labels::lower(candidate)) == children_.end())
      return candidate;
  }
}

void Namespace::clearNamespaces() {
  const Change change(*this);
  dropChildren();
  setDirty(true);
}

// Those that are there now: what call backs add meanwhile stays.
void Namespace::dropChildren() {
  std::vector<std::pair<std::string, const Namespace*>> present;
  {
    const TreeLock lock;
    present.reserve(children_.size());
    for (const auto& [key, child] : children_)
      present.emplace_back(key, child.get());
  }
  for (const auto& [key, child] : present)
    takeChild(key, child);
}

void Namespace::clear() {
  const Change change(*this);
  clearRoutes();
  clearExternalRoutes();
  clearNamespaces();
  const std::lock_guard values(valuesLock_);
  fields_.clear();
}

void Namespace::setDirty(bool dirty) {
  const TreeLock lock;
  if (dirty_ == dirty)
    return;
  dirty_.store(dirty, std::memory_order_release);
  if (dirty) {
    if (parent_ != nullptr)
      parent_->setDirty(true);
  } else {
    for (const auto& [key, child] : children_)
      child->setDirty(false);
  }
}

Namespace* Namespace::getParent() const {
  const TreeLock lock;
  return parent_;
}

Pelorn::URL Namespace::getBaseURL() const {
  const std::lock_guard values(valuesLock_);
  return baseURL_;
}

void Namespace::setBaseURL(const Pelorn::URL& url) {
  const std::lock_guard values(valuesLock_);
  baseURL_ = url;
}

void Namespace::tell(const Slot* about, std::function<void(Listener&)> call) {
  if (!listeners_.empty())
    Restructuring::tell(*this, about, [this, call = std::move(call)] { listeners_.forEach(call); });
}

void Namespace::addListener(Listener& listener) {
  const TreeLock lock;
  listeners_.add(listener);
}

void Namespace::removeListener(Listener& listener) {
  const TreeLock lock;
  listeners_.remove(listener);
}

} // namespace Vantiflux
