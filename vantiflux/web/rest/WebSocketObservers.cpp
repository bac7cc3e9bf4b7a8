#include <vantiflux/web/rest/WebSocketObservers.h>

#include <cstdlib>
#include <utility>

#include <vantiflux/platform/pelorn/WebSocketThreads.h>
#include <vantiflux/web/rest/WebSocketObserver.h>

namespace REST {

// Never destroyed: threads may look at it while the process ends. The exit handler comes before the one that destroys
// the root, which was set up when the first node was made.
WebSocketObservers& WebSocketObservers::the() {
  static auto* const observers = new WebSocketObservers;
  return *observers;
}

WebSocketObservers::WebSocketObservers() {
  std::atexit([] { the().end(); });
}

void WebSocketObservers::add(std::unique_ptr<Pelorn::WebSocketBase> socket, boost::shared_ptr<VCAttribute> attribute,
                             const std::string& extension, const std::string& name) {
  std::shared_ptr<WebSocketObserver> observer;
  {
    const std::lock_guard guard(lock_);
    if (ended_ || observers_.size() >= limit)
      return;
    observer = std::make_shared<WebSocketObserver>(std::move(socket), "ws" + std::to_string(++counter_),
                                                   std::move(attribute), extension, name);
    observers_.push_back(observer);
    websockets_.push_back(observer.get());
  }
  observer->start();
}

void WebSocketObservers::unlist(const VCType& resource) {
  const std::lock_guard guard(lock_);
  std::erase_if(websockets_, [&](const WebSocketObserver* observer) { return belongsTo(resource, *observer); });
}

void WebSocketObservers::release(WebSocketObserver& observer) {
  observer.stop();
  std::shared_ptr<WebSocketObserver> last;
  const std::lock_guard guard(lock_);
  std::erase(websockets_, &observer);
  std::erase_if(observers_, [&](std::shared_ptr<WebSocketObserver>& kept) {
    if (kept.get() != &observer)
      return false;
    last = std::move(kept); // destroyed when the lock is no longer held
    return true;
  });
}

void WebSocketObservers::clear() {
  std::vector<std::shared_ptr<WebSocketObserver>> observers;
  {
    const std::lock_guard guard(lock_);
    observers.swap(observers_);
    websockets_.clear();
  }
  for (const auto& observer : observers)
    observer->stop();
}

void WebSocketObservers::end() {
  {
    const std::lock_guard guard(lock_);
    ended_ = true;
  }
  clear();
  Pelorn::WebSocketThreads::end();
}

std::size_t WebSocketObservers::size() const {
  const std::lock_guard guard(lock_);
  return observers_.size();
}

std::size_t WebSocketObservers::listed() const {
  const std::lock_guard guard(lock_);
  return websockets_.size();
}

} // namespace REST
