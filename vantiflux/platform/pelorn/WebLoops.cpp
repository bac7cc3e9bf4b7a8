#include <vantiflux/platform/pelorn/WebLoops.h>

#include <exception>
#include <iterator>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <boost/asio/post.hpp>

#include <vantiflux/platform/tarsil/Console.h>

namespace Pelorn {

WebLoops::WebLoops(unsigned count, unsigned maxBlocked, std::function<void()> ended)
    : maxBlocked_(maxBlocked), ended_(std::move(ended)) {
  for (unsigned i = 0; i < count; ++i)
    loops_.emplace_back();
}

WebLoops::~WebLoops() = default;

WebLoops::Worker*& WebLoops::self() {
  static thread_local Worker* worker = nullptr;
  return worker;
}

WebLoops::Busy::Busy() {
  self()->serial.fetch_add(1);
}

WebLoops::Busy::~Busy() {
  self()->serial.fetch_add(1);
}

void WebLoops::start(const std::shared_ptr<void>& owner) {
  const std::lock_guard guard(lock_);
  owner_ = owner;
  for (Loop& loop : loops_)
    startWorker(loop);
}

// Needs the lock.
void WebLoops::startWorker(Loop& loop) {
  Worker& worker = loop.workers.emplace_back();
  try {
    std::thread([this, &loop, &worker, owner = owner_.lock()] { run(loop, worker); }).detach();
    ++workers_;
  } catch (const std::system_error&) {
    loop.workers.pop_back();
    throw;
  }
}

void WebLoops::run(Loop& loop, Worker& worker) {
  self() = &worker;
  for (bool done = false; !done;) {
    try {
      loop.context.run();
      done = true;
    } catch (const std::exception& e) { // what a loop calls deals with its own; this is memory that was missing
      Tarsil::printErrorLine(std::string("Exception in a web server: ") + e.what());
    }
  }
  self() = nullptr;
  {
    const std::lock_guard guard(lock_);
    loop.workers.remove_if([&worker](const Worker& other) { return &other == &worker; });
    --workers_;
  }
  ended_();
}

void WebLoops::release() {
  for (Loop& loop : loops_)
    loop.work.reset();
}

bool WebLoops::hasEnded() const {
  const std::lock_guard guard(lock_);
  return workers_ == 0;
}

boost::asio::io_context& WebLoops::at(std::size_t turn) {
  return std::next(loops_.begin(), static_cast<std::ptrdiff_t>(turn % loops_.size()))->context;
}

// A thread that is not stuck may be asleep while the loop stands still: it is woken by being given something to do.
bool WebLoops::relieve() {
  bool anyBusy = false;
  const std::lock_guard guard(lock_);
  for (Loop& loop : loops_) {
    std::size_t stuck = 0;
    bool isNew = false;
    for (Worker& worker : loop.workers) {
      const std::uint64_t serial = worker.serial.load();
      anyBusy |= serial % 2 == 1 || serial != worker.seen;
      const bool isStuck = serial % 2 == 1 && serial == worker.seen;
      isNew |= isStuck && !worker.isStuck;
      worker.isStuck = isStuck;
      worker.seen = serial;
      stuck += isStuck ? 1 : 0;
    }
    if (stuck > 0 && stuck == loop.workers.size() && workers_ < loops_.size() + maxBlocked_) {
      try {
        startWorker(loop);
        isNew = true;
      } catch (const std::system_error&) { // the next call may find the system with more to spare
      }
    }
    if (isNew)
      boost::asio::post(loop.context, [] {});
  }
  return anyBusy;
}

} // namespace Pelorn
