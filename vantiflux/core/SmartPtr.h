#pragma once

#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/core/Cache.h>
#include <vantiflux/core/RefCtr.h>

namespace Vantiflux {

/// A counted reference to a value too large to copy, kept in a pool. Copies share the value, so whoever has passed one
/// on must not change it any more. *Threads.* One SmartPtr object belongs to one thread at a time, its value to all who
/// refer to it.
template <class T>
class VANTIFLUX_API SmartPtr {
public:
  SmartPtr() noexcept = default;
  SmartPtr(const SmartPtr& other) noexcept : holder_(other.holder_), cache_(other.cache_) {
    if (holder_ != nullptr)
      holder_->incrementReferenceCounter();
  }
  SmartPtr(SmartPtr&& other) noexcept
      : holder_(std::exchange(other.holder_, nullptr)), cache_(std::exchange(other.cache_, nullptr)) {}
  SmartPtr& operator=(SmartPtr other) noexcept {
    std::swap(holder_, other.holder_);
    std::swap(cache_, other.cache_);
    return *this;
  }
  ~SmartPtr() { decrementReferenceCounter(); }

  /// Refers to a holder from the pool from now on. Its value may be an old one: overwrite it.
  void acquire() {
    RefCtr<T>* const holder = Cache<T>::the_.take();
    decrementReferenceCounter();
    cache_ = &Cache<T>::the_;
    holder_ = holder;
    holder_->incrementReferenceCounter();
  }

  /// Gives up the reference; null afterwards. The last one returns the holder to its pool.
  void decrementReferenceCounter() noexcept {
    if (holder_ != nullptr && holder_->decrementReferenceCounter() == 0)
      cache_->giveBack(holder_);
    holder_ = nullptr;
  }

  T* get() const noexcept { return holder_ == nullptr ? nullptr : &holder_->value; }
  T& operator*() const noexcept { return holder_->value; }
  T* operator->() const noexcept { return &holder_->value; }
  explicit operator bool() const noexcept { return holder_ != nullptr; }

  /// Same holder, not same value.
  friend bool operator==(const SmartPtr& a, const SmartPtr& b) noexcept { return a.holder_ == b.holder_; }

private:
  RefCtr<T>* holder_ = nullptr; ///< null is valid; owned by the pool
  Cache<T>* cache_ = nullptr;
};

} // namespace Vantiflux
