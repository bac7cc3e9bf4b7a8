#pragma once

#include <deque>
#include <exception>
#include <functional>

#include <vantiflux/Export.h>
#include <vantiflux/core/TreeLock.h>

namespace Vantiflux {

class BasicInSlot;
class BasicOutSlot;
class Namespace;
class Slot;

/// One change of structure, in two halves. First all lists, of entries, rules and connections, in all namespaces that
/// the change reaches, are brought up to date, and nobody is called. Then those concerned are told, in the same order:
/// peers are attached and detached, slots started and stopped, namespace listeners called.
///
/// So a listener that is called may change the structure again, on this thread or, when a mutex was lent, on another:
/// it finds all lists agreeing with each other. Such an inner change is carried out whole before it returns; what the
/// outer one still had to tell about the same slots goes with it.
///
/// *Threads.* Everything under the lock of structure.
///
/// *Failure.* An exception of a listener leaves through `run`, after the others have been told.
class VANTIFLUX_API Restructuring {
public:
  Restructuring(const Restructuring&) = delete;
  Restructuring& operator=(const Restructuring&) = delete;

  /// Runs the first half, and the second unless a first half is under way already, which then does it.
  template <class Change>
  static void run(Change&& change) {
    const TreeLock lock;
    if (current_ != nullptr) {
      change();
      return;
    }
    Restructuring restructuring;
    {
      const First first(restructuring);
      change();
    }
    restructuring.tellAll();
  }

  /// Whether a first half is under way; for who holds the lock of structure.
  static bool isChanging() noexcept { return current_ != nullptr; }

  /// Which sides of a connection that is undone have none left then, and which had none to begin with: the stop
  /// listeners of the latter are called all the same.
  struct Stops {
    bool out = false;
    bool in = false;
    bool outAgain = false;
    bool inAgain = false;
  };

  /// To be called in the first half: bring the pair's connection into effect, or out of it.
  static void settle(BasicOutSlot& out, BasicInSlot& in, Stops stops);
  /// To be called in the first half: tell listeners of the namespace something about a slot (or about none).
  static void tell(Namespace& ns, const Slot* about, std::function<void()> call);
  /// To be called in the first half: the slot may be gone after this change, so take over all that others still have to
  /// do with it.
  static void adopt(const Slot& slot);

private:
  struct Task {
    BasicOutSlot* out = nullptr; ///< of a connection
    BasicInSlot* in = nullptr;
    Stops stops{};
    Namespace* ns = nullptr; ///< of a call
    const Slot* about = nullptr;
    std::function<void()> call{};
    bool concerns(const Slot& slot) const;
  };

  /// Marks the first half.
  class First {
  public:
    explicit First(Restructuring& restructuring) { current_ = &restructuring; }
    ~First() { current_ = nullptr; }
  };

  Restructuring() = default;
  ~Restructuring();

  void tellAll();
  void perform(const Task& task);

  std::deque<Task> tasks_;
  Restructuring* outer_ = nullptr;

  static Restructuring* current_; ///< whose first half is under way
  static Restructuring* telling_; ///< the innermost of those in their second half
};

} // namespace Vantiflux
