#pragma once

#include <exception>
#include <memory>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/RefCtr.h>
#include <vantiflux/platform/tarsil/Mutex.h>

namespace Vantiflux {

/// The lock of a pool. Innermost of all locks: nothing is called while it is held.
class VANTIFLUX_API BasicCache {
public:
  void lock() TARSIL_ACQUIRE(mutex_) { mutex_.lock(); }
  void unlock() TARSIL_RELEASE(mutex_) { mutex_.unlock(); }

protected:
  Tarsil::Mutex mutex_;
};

/// The pool of holders behind SmartPtr: a holder whose last reference goes is kept, with its value, and handed out
/// again. A pool only grows, to the largest number of values that were in use at one time.
template <class T>
class VANTIFLUX_API Cache : public BasicCache {
public:
  Cache() = default;
  Cache(const Cache&) = delete;
  Cache& operator=(const Cache&) = delete;
  /// Throws a plain std::exception if a holder is still referenced.
  ~Cache() noexcept(false) {
    if (free_.size() == all_.size())
      return;
    for (auto& holder : all_)
      static_cast<void>(holder.release()); // somebody still refers to one of them: better leaked than dangling
    throw std::exception();
  }

  /// A holder that nobody refers to: the one given back last, or a new one with a default-constructed value. The value
  /// of a used holder is as its last user left it.
  RefCtr<T>* take() {
    const Tarsil::MutexLock guard(mutex_);
    if (free_.empty()) {
      all_.push_back(std::make_unique<RefCtr<T>>());
      free_.reserve(all_.capacity()); // so that giving back never allocates
      return all_.back().get();
    }
    RefCtr<T>* const holder = free_.back();
    free_.pop_back();
    return holder;
  }

  void giveBack(RefCtr<T>* holder) noexcept {
    const Tarsil::MutexLock guard(mutex_);
    free_.push_back(holder);
  }

  /// The pool of the process. Made when the library is loaded and never destroyed: values may be released by the last
  /// thread of the process.
#ifdef __clang__
  // Clang 16 takes a reference that is instantiated elsewhere, but whose definition it sees, for a constant null.
  [[clang::exclude_from_explicit_instantiation]]
#endif
  static Cache& the_;

private:
  std::vector<std::unique_ptr<RefCtr<T>>> all_; ///< every holder ever made
  std::vector<RefCtr<T>*> free_;                ///< those that nobody refers to
};

template <class T>
Cache<T>& Cache<T>::the_ = *new Cache<T>;

} // namespace Vantiflux
