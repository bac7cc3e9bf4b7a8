#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>

namespace Vantiflux {

/// An in-slot that keeps the latest values in a ring, for readers that must not miss one, such as sound playback. A
/// value that comes to a full ring pushes out the oldest. *Threads.* As InSlot.
template <class T>
class VANTIFLUX_API BufferedInSlot : public InSlot<T> {
public:
  /// A ring of `size` entries, at least one.
  BufferedInSlot(std::string description, std::size_t size)
      : InSlot<T>(std::move(description)), ring_(size == 0 ? 1 : size) {}

  bool empty() const override;
  /// The oldest entry that `pop` has not taken, or what stands there when there is none. Never blocks.
  Data<T> top() override;
  Data<T> pop() override;
  void push(const Data<T>& data) override;

private:
  void advance(std::size_t& position) const { position = position + 1 == ring_.size() ? 0 : position + 1; }

  std::vector<Data<T>> ring_; ///< this and the rest are guarded by the data mutex
  std::size_t read_ = 0;
  std::size_t write_ = 0;
  std::size_t count_ = 0;
};

template <class T>
bool BufferedInSlot<T>::empty() const {
  const Tarsil::MutexLock lock(this->dataMutex_);
  return count_ == 0;
}

template <class T>
Data<T> BufferedInSlot<T>::top() {
  const Tarsil::MutexLock lock(this->dataMutex_);
  this->checkInterrupted();
  return ring_[read_];
}

template <class T>
Data<T> BufferedInSlot<T>::pop() {
  const Tarsil::MutexLock lock(this->dataMutex_);
  this->take();
  this->checkInterrupted();
  Data<T> data = ring_[read_];
  advance(read_);
  // After an interrupt whose `top` took the flag the semaphore counts one too many: then nothing is left to count.
  if (count_ > 0)
    --count_;
  return data;
}

template <class T>
void BufferedInSlot<T>::push(const Data<T>& data) {
  {
    const Tarsil::MutexLock lock(this->dataMutex_);
    if (write_ == read_ && count_ != 0) {
      advance(read_);
    } else {
      ++count_;
      this->give();
    }
    ring_[write_] = data;
    advance(write_);
  }
  this->newData();
}

} // namespace Vantiflux
