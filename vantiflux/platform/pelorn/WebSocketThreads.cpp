#include <vantiflux/platform/pelorn/WebSocketThreads.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <mutex>
#include <system_error>

#include <vantiflux/platform/tarsil/SysInfo.h>

namespace Pelorn {

namespace {

constexpr unsigned maxWireThreads = 4;
constexpr unsigned callThreads = 8; ///< so many listeners may wait, for each other too
constexpr unsigned longCallThreads = 2;

/// Never destroyed: a connection may be closed while the process ends, and a thread that ended it comes to its own end
/// later still.
struct Shared {
  std::mutex lock; ///< guards the rest
  std::shared_ptr<WebSocketThreads> current;
  bool ended = false;
};

Shared& shared() {
  static auto* const the = new Shared;
  return *the;
}

} // namespace

// The hint saves the loop from waking threads that it does not have.
WebSocketThreads::Loop::Loop(unsigned count) : context(static_cast<int>(count)), work(context.get_executor()) {
  while (threads.size() < count)
    threads.emplace_back(this, &Loop::run);
}

// A handler that throws must not take the others with it.
int WebSocketThreads::Loop::run() {
  while (!context.stopped()) {
    try {
      context.run();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "Exception in a WebSocket thread: %s\n", e.what());
    } catch (...) {
      std::fputs("Exception in a WebSocket thread\n", stderr);
    }
  }
  return 0;
}

WebSocketThreads::WebSocketThreads() : calls_(callThreads), longCalls_(longCallThreads), longSends_(1), ends_(1) {
  const unsigned count = std::clamp(Tarsil::SysInfo::the().getNumberOfProcessors(), 1U, maxWireThreads);
  for (unsigned i = 0; i < count; ++i)
    order_.push_back(&wires_.emplace_back(1));
}

WebSocketThreads::~WebSocketThreads() = default;

WebSocketThreads::Context& WebSocketThreads::wire() noexcept {
  return order_[next_.fetch_add(1, std::memory_order_relaxed) % order_.size()]->context;
}

template <class Call>
void WebSocketThreads::forEach(Call call) {
  call(calls_);
  call(longCalls_);
  call(longSends_);
  call(ends_);
  for (Loop& loop : wires_)
    call(loop);
}

void WebSocketThreads::start() {
  bool started = true;
  forEach([&](Loop& loop) {
    for (auto& thread : loop.threads)
      started = started && thread.start();
  });
  if (started)
    return;
  stop();
  throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
}

bool WebSocketThreads::stop() {
  forEach([](Loop& loop) { loop.context.stop(); });
  bool ended = true;
  forEach([&](Loop& loop) {
    for (auto& thread : loop.threads)
      ended = thread.join() && ended;
  });
  return ended;
}

std::shared_ptr<WebSocketThreads> WebSocketThreads::get() {
  const std::lock_guard guard(shared().lock);
  if (shared().ended)
    throw std::system_error(std::make_error_code(std::errc::operation_canceled));
  if (shared().current == nullptr) {
    auto threads = std::make_shared<WebSocketThreads>();
    threads->start();
    shared().current = std::move(threads);
  }
  return shared().current;
}

void WebSocketThreads::end() {
  std::shared_ptr<WebSocketThreads> ending;
  {
    const std::lock_guard guard(shared().lock);
    shared().ended = true;
    ending.swap(shared().current);
  }
  if (ending == nullptr || ending->stop())
    return;
  const std::lock_guard guard(shared().lock);
  shared().current = std::move(ending);
}

} // namespace Pelorn
