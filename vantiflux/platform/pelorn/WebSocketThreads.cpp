#include <vantiflux/platform/pelorn/WebSocketThreads.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>

namespace Pelorn {

namespace {

constexpr unsigned maxWireThreads = 4;

/// Never destroyed: a connection may be closed while the process ends.
struct Shared {
  std::mutex lock; ///< guards the rest
  std::shared_ptr<WebSocketThreads> current;
  std::vector<std::shared_ptr<WebSocketThreads>>
      ending; ///< stopped, but somebody of theirs has not come to the end yet
};

Shared& shared() {
  static auto* const the = new Shared;
  return *the;
}

// A handler that throws must not take the others with it.
int run(boost::asio::io_context& context) {
  while (!context.stopped()) {
    try {
      context.run();
    } catch (const std::exception& e) {
      std::fprintf(stderr, "Exception in a WebSocket thread: %s\n", e.what());
    }
  }
  return 0;
}

} // namespace

WebSocketThreads::WebSocketThreads() : wireWork_(wire_.get_executor()), callsWork_(calls_.get_executor()) {}

WebSocketThreads::~WebSocketThreads() = default;

int WebSocketThreads::runWire() {
  return run(wire_);
}

int WebSocketThreads::runCalls() {
  return run(calls_);
}

void WebSocketThreads::start() {
  const unsigned count = std::clamp(std::thread::hardware_concurrency(), 1U, maxWireThreads);
  for (unsigned i = 0; i < count; ++i)
    threads_.push_back(std::make_unique<Thread>(this, &WebSocketThreads::runWire));
  threads_.push_back(std::make_unique<Thread>(this, &WebSocketThreads::runCalls));
  for (const auto& thread : threads_)
    if (!thread->start()) {
      stop();
      throw std::system_error(std::make_error_code(std::errc::resource_unavailable_try_again));
    }
}

bool WebSocketThreads::stop() {
  wire_.stop();
  calls_.stop();
  bool ended = true;
  for (const auto& thread : threads_)
    ended = thread->join() && ended;
  return ended;
}

std::shared_ptr<WebSocketThreads> WebSocketThreads::get() {
  const std::lock_guard guard(shared().lock);
  if (shared().current == nullptr) {
    auto threads = std::make_shared<WebSocketThreads>();
    threads->start();
    shared().current = std::move(threads);
  }
  return shared().current;
}

void WebSocketThreads::end() {
  std::vector<std::shared_ptr<WebSocketThreads>> ending;
  {
    const std::lock_guard guard(shared().lock);
    ending.swap(shared().ending);
    if (shared().current != nullptr)
      ending.push_back(std::move(shared().current));
    shared().current = nullptr;
  }
  // What is given up here waits for the next call, at the end of the process at the latest.
  std::erase_if(ending, [](const auto& threads) { return threads->stop(); });
  const std::lock_guard guard(shared().lock);
  shared().ending.insert(shared().ending.end(), ending.begin(), ending.end());
}

} // namespace Pelorn
