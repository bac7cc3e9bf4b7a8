#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/Wait.h>
#include <vantiflux/values/SlotTypes.h>

namespace Host {

/// Prints the values of the out-slots of a namespace as they arrive, one line each: time stamp, label and value between
/// tabs. Slots are chosen by label patterns, as in routes; those that come later are watched too. Types that
/// are not the library's own are left out.
///
/// Of a slot whose values come faster than they can be printed, the latest is printed: the flow of data never waits for
/// the reader of the lines.
///
/// *Threads.* Lines are written by a thread of its own. Make and destroy it without holding the lock of structure.
class Watcher : private Vantiflux::Namespace::Listener {
public:
  /// Takes a whole line with its end; false ends the printing.
  using Sink = std::function<bool(const std::string& line)>;

  Watcher(Vantiflux::Namespace& space, std::vector<std::string> patterns, Sink sink);
  /// The sink must not block any more, or only until somebody makes it return.
  ~Watcher() override;
  Watcher(const Watcher&) = delete;
  Watcher& operator=(const Watcher&) = delete;

  /// The patterns that no slot matches now.
  std::vector<std::string> unmatched() const;

private:
  struct Watched {
    std::string label;
    Vantiflux::BasicOutSlot* source = nullptr;
    std::unique_ptr<Vantiflux::BasicInSlot> reader;
  };

  void outSlotAdded(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicOutSlot* slot) override;
  void outSlotRemoved(Vantiflux::Namespace& space, const std::string& label, Vantiflux::BasicOutSlot* slot) override;
  void forget(Watched& watched);
  void print();
  std::string takeLine(const Vantiflux::BasicInSlot* slot);

  Vantiflux::Namespace& space_;
  const std::vector<std::string> patterns_;
  const Sink sink_;

  Vantiflux::InSlot<bool> stop_; ///< gets a value when the printer is to end
  Vantiflux::Wait wait_;         ///< after the slot, which it listens to until its end

  mutable std::mutex mutex_;     ///< guards the list; taken inside the lock of structure, never around it
  std::vector<Watched> watched_; ///< changed with the lock of structure held as well

  std::thread printer_;
};

} // namespace Host
