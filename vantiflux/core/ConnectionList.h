#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Vantiflux {

/// The peers of a slot in the order of their first connection, each with the number of rules that join the two.
/// *Threads.* Guarded by the lock of structure.
template <class Peer>
class ConnectionList {
public:
  struct Entry {
    Peer* peer = nullptr;
    std::uint64_t count = 0;
    bool attached = false; ///< the peer gets values; the owner's to keep
  };

  bool empty() const noexcept { return entries_.empty(); }

  /// Null for an unknown peer.
  Entry* find(const Peer* peer) noexcept {
    const auto at =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& entry) { return entry.peer == peer; });
    return at == entries_.end() ? nullptr : &*at;
  }

  /// Counts a connection in.
  void add(Peer* peer) {
    if (Entry* const entry = find(peer))
      ++entry->count;
    else
      entries_.push_back({peer, 1, false});
  }

  /// Counts a connection out; an unknown peer is ignored. Returns whether the last one went.
  bool remove(const Peer* peer) {
    Entry* const entry = find(peer);
    if (entry == nullptr || --entry->count != 0)
      return false;
    entries_.erase(entries_.begin() + (entry - entries_.data()));
    return true;
  }

private:
  std::vector<Entry> entries_;
};

} // namespace Vantiflux
