// What a delivered value costs, beside Boost.Signals2 with subscribers that copy the same payload under a mutex, and
// what the steps of a delivery cost one by one.
#include <memory>
#include <mutex>
#include <vector>

#include <sys/time.h>

#include <benchmark/benchmark.h>
#include <boost/signals2.hpp>

#include <vantiflux/platform/tarsil/Semaphore.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;
using Payload = Matrix4<float>;

struct Popper : BasicInSlot::Listener {
  void newData(BasicInSlot&) override {
    const Data<Payload> taken = slot.pop();
    benchmark::DoNotOptimize(&taken);
  }
  InSlot<Payload> slot;
};

void pushToListeners(benchmark::State& state) {
  OutSlot<Payload> out;
  std::vector<std::unique_ptr<Popper>> poppers;
  for (int i = 0; i < state.range(0); ++i) {
    poppers.push_back(std::make_unique<Popper>());
    poppers.back()->slot.addListener(*poppers.back());
    out.connect(&poppers.back()->slot);
  }
  const Data<Payload> data{Payload()};
  for (auto _ : state)
    out.push(data);
  state.SetItemsProcessed(state.iterations() * state.range(0));
  for (const auto& popper : poppers) {
    out.disconnect(&popper->slot);
    popper->slot.removeListener(*popper);
  }
}

/// The yardstick: a subscriber copies the payload under a mutex.
struct Subscriber {
  void receive(const Data<Payload>& data) {
    const std::lock_guard guard(mutex);
    held = data;
  }
  std::mutex mutex;
  Data<Payload> held;
};

void signals2(benchmark::State& state) {
  boost::signals2::signal<void(const Data<Payload>&)> signal;
  std::vector<std::unique_ptr<Subscriber>> subscribers;
  for (int i = 0; i < state.range(0); ++i) {
    subscribers.push_back(std::make_unique<Subscriber>());
    signal.connect([subscriber = subscribers.back().get()](const Data<Payload>& data) { subscriber->receive(data); });
  }
  const Data<Payload> data{Payload()};
  for (auto _ : state)
    signal(data);
  state.SetItemsProcessed(state.iterations() * state.range(0));
  for (const auto& subscriber : subscribers)
    benchmark::DoNotOptimize(&subscriber->held);
}

BENCHMARK(pushToListeners)->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(signals2)->Arg(1)->Arg(8)->Arg(64);

void stepReadClock(benchmark::State& state) {
  BasicData data;
  for (auto _ : state) {
    data.setTimeStamp();
    benchmark::DoNotOptimize(&data);
  }
}

void stepMutex(benchmark::State& state) {
  Tarsil::Mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    benchmark::ClobberMemory();
    mutex.unlock();
  }
}

void stepRecursiveMutexOfTheCLibrary(benchmark::State& state) {
  std::recursive_mutex mutex;
  for (auto _ : state) {
    mutex.lock();
    benchmark::ClobberMemory();
    mutex.unlock();
  }
}

void stepSemaphore(benchmark::State& state) {
  Tarsil::Semaphore semaphore;
  for (auto _ : state) {
    semaphore.up();
    semaphore.down();
  }
}

void stepCopy(benchmark::State& state) {
  Data<Payload> from{Payload()};
  Data<Payload> to;
  for (auto _ : state) {
    benchmark::ClobberMemory();
    to = from;
    benchmark::DoNotOptimize(&to);
  }
}

BENCHMARK(stepReadClock);
BENCHMARK(stepMutex);
BENCHMARK(stepRecursiveMutexOfTheCLibrary);
BENCHMARK(stepSemaphore);
BENCHMARK(stepCopy);

void pushStamped(benchmark::State& state) {
  OutSlot<Payload> out;
  InSlot<Payload> in;
  out.connect(&in);
  const Payload payload;
  for (auto _ : state)
    out.push(payload); // stamps it
  out.disconnect(&in);
}

BENCHMARK(pushStamped);

} // namespace

BENCHMARK_MAIN();
