#pragma once

#include <algorithm>
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
    if (set_.empty())
      return;
    for (Listener* listener = set_.front(); listener != nullptr; listener = after(listener))
      call(*listener);
  }

private:
  Listener* after(Listener* last) const {
    const auto next = std::upper_bound(set_.begin(), set_.end(), last, std::less<>());
    return next == set_.end() ? nullptr : *next;
  }

  std::vector<Listener*> set_;
};

} // namespace Vantiflux
