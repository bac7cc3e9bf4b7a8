#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Vantiflux {

/// The peers of a slot in the order of their first connection, each with the number of rules that join the two. The list
/// may change while it is walked, by a call back from a peer: who is removed is not visited, and neither is who comes.
/// *Threads.* Guarded by the data mutex of the slot that owns it. One walk at a time.
template <class Peer>
class ConnectionList {
public:
  bool empty() const noexcept { return entries_.empty(); }

  bool contains(const Peer* peer) const noexcept { return find(peer) != entries_.size(); }

  /// Counts a connection in. Returns true when the peer is new.
  bool add(Peer* peer) {
    const std::size_t at = find(peer);
    if (at != entries_.size()) {
      ++entries_[at].second;
      return false;
    }
    entries_.emplace_back(peer, 1);
    return true;
  }

  /// Counts a connection out; an unknown peer is ignored.
  void remove(const Peer* peer) {
    const std::size_t at = find(peer);
    if (at == entries_.size() || --entries_[at].second != 0)
      return;
    entries_.erase(entries_.begin() + static_cast<std::ptrdiff_t>(at));
    if (at < next_)
      --next_;
    if (at < end_)
      --end_;
  }

  std::uint64_t count(const Peer* peer) const noexcept {
    const std::size_t at = find(peer);
    return at == entries_.size() ? 0 : entries_[at].second;
  }

  template <class Visit>
  void walk(Visit&& visit) {
    next_ = 0;
    end_ = entries_.size();
    while (next_ < end_)
      visit(*entries_[next_++].first);
  }

private:
  std::size_t find(const Peer* peer) const noexcept {
    std::size_t at = 0;
    while (at != entries_.size() && entries_[at].first != peer)
      ++at;
    return at;
  }

  std::vector<std::pair<Peer*, std::uint64_t>> entries_;
  std::size_t next_ = 0; ///< of the walk under way: the entry to visit next
  std::size_t end_ = 0;  ///< and behind the last one
};

} // namespace Vantiflux
