#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

namespace Pelorn {

/// The event loops of a server and their threads. What a loop calls runs on its thread, so a request costs no change of
/// threads. Code that may wait for a lock stands in a `Busy` scope; while it waits too long, `relieve`, called from
/// time to time, lets another thread go on with the loop.
///
/// *Threads.* All operations from any thread. The threads end by themselves after `release`, when no loop has anything
/// to do any more, and keep the owner until then.
class WebLoops {
public:
  /// `ended` is called by each thread at its end.
  WebLoops(unsigned count, unsigned maxBlocked, std::function<void()> ended);
  ~WebLoops();
  WebLoops(const WebLoops&) = delete;
  WebLoops& operator=(const WebLoops&) = delete;

  /// Starts a thread for each loop. Throws std::system_error when the system has none to spare; those that were started
  /// end then after `release`.
  void start(const std::shared_ptr<void>& owner);
  void release();
  bool hasEnded() const;

  boost::asio::io_context& first() { return loops_.front().context; }
  /// One after the other, again and again.
  boost::asio::io_context& at(std::size_t turn);

  /// Looks at threads that have been in the same Busy scope since the last call, and replaces them where a loop has no
  /// other. Whether any thread was in such a scope since.
  bool relieve();

  /// On a thread of a loop.
  class Busy {
  public:
    Busy();
    ~Busy();
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
  };

private:
  struct Worker {
    std::atomic<std::uint64_t> serial{0}; ///< odd in a Busy scope; written by the thread
    std::uint64_t seen = 0;               ///< by `relieve`
    bool isStuck = false;
  };
  struct Loop {
    boost::asio::io_context context{1}; // with 1, it wakes no other thread for what this one is about to do
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{context.get_executor()};
    std::list<Worker> workers; ///< guarded by the lock
  };

  void startWorker(Loop& loop);
  void run(Loop& loop, Worker& worker);
  static Worker*& self();

  const unsigned maxBlocked_;
  const std::function<void()> ended_;
  std::list<Loop> loops_;
  mutable std::mutex lock_; ///< guards the rest, and what stands there
  std::weak_ptr<void> owner_;
  std::size_t workers_ = 0;
};

} // namespace Pelorn
