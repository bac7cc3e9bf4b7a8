#include <vantiflux/platform/pelorn/WebVisitors.h>

#include <algorithm>

namespace Pelorn {

bool WebVisitors::enter() {
  const std::lock_guard guard(lock_);
  if (ended_)
    return false;
  inside_.push_back(std::this_thread::get_id());
  return true;
}

void WebVisitors::leave() {
  const std::lock_guard guard(lock_);
  inside_.erase(std::find(inside_.begin(), inside_.end(), std::this_thread::get_id()));
  left_.notify_all();
}

void WebVisitors::end() {
  std::unique_lock guard(lock_);
  ended_ = true;
  const std::thread::id self = std::this_thread::get_id();
  left_.wait(guard, [&] {
    return std::all_of(inside_.begin(), inside_.end(), [&](std::thread::id visitor) { return visitor == self; });
  });
}

} // namespace Pelorn
