#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <vector>

namespace Vantiflux {

/// A set of listeners in the order of their addresses. A listener may add and remove listeners while it is called: who
/// is removed is not called any more, who is added further up in the order is.
/// *Threads.* Guarded by a recursive mutex of the owner.
template <class Listener>
class ListenerSet {
public:
  bool add(Listener& listener) {
    const auto at = std::lower_bound(set_.begin(), set_.end(), &listener, std::less<>());
    if (at != set_.end() && *at == &listener)
      return false;
    set_.insert(at, &listener);
    return true;
  }

  void remove(Listener& listener) {
    const auto at = std::lower_bound(set_.begin(), set_.end(), &listener, std::less<>());
    if (at != set_.end() && *at == &listener)
      set_.erase(at);
  }

  bool empty() const noexcept { return set_.empty(); }

  template <class Call>
  void forEach(Call&& call) const {
    for (std::size_t at = 0; at < set_.size();) {
      Listener* const listener = set_[at];
      call(*listener);
      if (at < set_.size() && set_[at] == listener)
        ++at;
      else // it, or one before it, came or went
        at = static_cast<std::size_t>(std::upper_bound(set_.begin(), set_.end(), listener, std::less<>()) -
                                      set_.begin());
    }
  }

private:
  std::vector<Listener*> set_;
};

} // namespace Vantiflux
