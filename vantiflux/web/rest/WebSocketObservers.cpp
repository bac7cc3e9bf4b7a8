#include <vantiflux/web/rest/WebSocketObservers.h>

#include <cstdlib>
#include <utility>

#include <vantiflux/platform/pelorn/WebSocketServer.h>
#include <vantiflux/platform/pelorn/WebSocketThreads.h>
#include <vantiflux/web/rest/WebSocketObserver.h>

namespace REST {

namespace {

thread_local const void* served = nullptr;

} // namespace

WebSocketObservers::Serving::Serving(const void* server) noexcept {
  served = server;
}

WebSocketObservers::Serving::~Serving() {
  served = nullptr;
}

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
    if (ended_ || observers_.size() >= Pelorn::WebSocketServer::getMaxConnections())
      return;
    observer = std::make_shared<WebSocketObserver>(std::move(socket), "ws" + std::to_string(++counter_),
                                                   std::move(attribute), extension, name);
    observers_.push_back({observer, served});
    websockets_.push_back(observer.get());
  }
  try {
    observer->start();
  } catch (...) { // the end of the connection says it
    release(*observer);
  }
}

void WebSocketObservers::unlist(const boost::shared_ptr<VCType>& resource) {
  const std::lock_guard guard(lock_);
  std::erase_if(websockets_, [&](const WebSocketObserver* observer) { return belongsTo(resource, observer); });
}

void WebSocketObservers::release(WebSocketObserver& observer) noexcept {
  observer.stop();
  std::shared_ptr<WebSocketObserver> last;
  const std::lock_guard guard(lock_);
  std::erase(websockets_, &observer);
  std::erase_if(observers_, [&](Entry& entry) {
    if (entry.observer.get() != &observer)
      return false;
    last = std::move(entry.observer); // destroyed when the lock is no longer held
    return true;
  });
}

void WebSocketObservers::clear(const void* server) {
  std::vector<std::shared_ptr<WebSocketObserver>> cleared;
  {
    const std::lock_guard guard(lock_);
    std::erase_if(observers_, [&](Entry& entry) {
      if (server != nullptr && entry.server != server)
        return false;
      std::erase(websockets_, entry.observer.get());
      cleared.push_back(std::move(entry.observer));
      return true;
    });
  }
  for (const auto& observer : cleared)
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
