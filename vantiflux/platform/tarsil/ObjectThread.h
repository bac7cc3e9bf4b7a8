#pragma once

#include <vantiflux/platform/tarsil/Thread.h>

namespace Tarsil {

/// A thread that runs a member function of an object, `int T::method()`. Nobody reads the result.
template <class T>
class ObjectThread final : public Thread {
public:
  ObjectThread(T* object, int (T::*method)()) : object_(object), method_(method) {}
  ~ObjectThread() override { join(); }

  using Thread::endRun;

protected:
  void main() override { (object_->*method_)(); }

private:
  T* object_;
  int (T::*method_)();
};

} // namespace Tarsil
