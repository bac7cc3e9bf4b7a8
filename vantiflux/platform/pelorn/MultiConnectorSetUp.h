#pragma once

#include <atomic>
#include <utility>

#include <vantiflux/platform/pelorn/MultiConnector.h>
#include <vantiflux/platform/tarsil/Thread.h>

namespace Pelorn {

/// The thread on which a connection is made and the peers introduce themselves.
class MultiConnector::SetUp final : public Tarsil::Thread {
public:
  SetUp(MultiConnector& connector, Communicator::Pointer communicator, bool outgoing)
      : connects(outgoing), connector_(connector), communicator_(std::move(communicator)) {}
  ~SetUp() override { join(); }

  const bool connects; ///< it is this side that connects

  bool isOver() const noexcept { return over_.load(std::memory_order_acquire); }

protected:
  void main() override {
    connector_.setUp(*communicator_);
    over_.store(true, std::memory_order_release);
    connector_.loopWait_.wake();
  }

private:
  MultiConnector& connector_;
  const Communicator::Pointer communicator_;
  std::atomic<bool> over_{false};
};

} // namespace Pelorn
