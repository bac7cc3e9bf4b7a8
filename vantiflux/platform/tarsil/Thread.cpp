#include <vantiflux/platform/tarsil/Thread.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <exception>
#include <system_error>
#include <thread>
#include <utility>

#include <vantiflux/platform/tarsil/WaitGraph.h>

namespace Tarsil {

/// What a thread and those who wait for it share; outlives the Thread object when a thread destroys its own.
struct Thread::Run {
  ThreadRun seen;                   ///< as the wait graph sees it
  std::atomic<bool> running{true};  ///< until main has returned, or `endRun`; written by the thread
  std::atomic<bool> gone{false};    ///< main has returned
  std::atomic<bool> claimed{false}; ///< set by the one who joins or detaches `thread`
  std::thread thread;
};

Thread::Thread() = default;

Thread::~Thread() {
  for (const auto& run : leaving_)
    end(*run);
  if (run_)
    end(*run_);
}

/// Waits for a run, unless that cannot end before the caller goes on.
void Thread::end(Run& run) {
  const bool ended = WaitGraph::the().join(run.seen, thisThread());
  if (run.claimed.exchange(true))
    return;
  if (ended)
    run.thread.join();
  else
    run.thread.detach();
}

bool Thread::start() {
  const std::lock_guard guard(lock_);
  if (run_ && run_->running.load(std::memory_order_acquire))
    return true;
  try {
    std::erase_if(leaving_, [](const auto& left) {
      const bool gone = left->gone.load(std::memory_order_acquire);
      if (gone && !left->claimed.exchange(true))
        left->thread.join();
      return gone;
    });
    if (run_)
      leaving_.push_back(std::exchange(run_, nullptr));
    auto run = std::make_shared<Run>();
    run->thread = std::thread([this, run] { enter(this, run); });
    WaitGraph::the().begin(run->seen, run->thread.native_handle());
    run_ = std::move(run);
    return true;
  } catch (const std::system_error&) {
    return false;
  }
}

void Thread::enter(Thread* thread, const std::shared_ptr<Run>& run) {
  WaitGraph::the().begin(run->seen, thisThread());
  try {
    thread->main();
  } catch (const std::exception& e) {
    std::fprintf(stderr, "Exception in a thread: %s\n", e.what());
  } catch (const char* text) {
    std::fprintf(stderr, "Exception in a thread: %s\n", text);
  } catch (...) {
    std::fputs("Exception of an unknown type in a thread\n", stderr);
  }
  run->running.store(false, std::memory_order_release);
  run->gone.store(true, std::memory_order_release);
  WaitGraph::the().finish(run->seen); // from here on the Thread object may be gone
}

bool Thread::join() {
  std::shared_ptr<Run> run;
  {
    const std::lock_guard guard(lock_);
    run = run_;
  }
  if (!run)
    return true;
  if (!WaitGraph::the().join(run->seen, thisThread()))
    return false;
  if (!run->claimed.exchange(true))
    run->thread.join();
  return true;
}

void Thread::endRun() {
  const std::lock_guard guard(lock_);
  run_->running.store(false, std::memory_order_release);
}

bool Thread::isRunning() const {
  const std::lock_guard guard(lock_);
  return run_ && run_->running.load(std::memory_order_acquire);
}

void Thread::sleep(unsigned long milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

void Thread::yield() {
  std::this_thread::yield();
}

} // namespace Tarsil
