// What structure costs as it grows: adding a pair of slots with literal labels, enabling, and memory.
#include <deque>
#include <memory>
#include <string>

#include <malloc.h>

#include <benchmark/benchmark.h>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// Pairs of an out-slot and an in-slot that a route joins.
struct Pairs {
  explicit Pairs(std::size_t count) : outs(count), ins(count) {}

  void add(std::size_t i) {
    const std::string number = std::to_string(i);
    ns.addOutSlot("device/" + number, &outs[i]);
    ns.addInSlot("reader/" + number, &ins[i]);
    ns.addRoute("device/" + number, "reader/" + number);
  }
  void remove(std::size_t i) {
    const std::string number = std::to_string(i);
    ns.removeRoute("device/" + number, "reader/" + number);
    ns.removeInSlot("reader/" + number, &ins[i]);
    ns.removeOutSlot("device/" + number, &outs[i]);
  }

  std::deque<OutSlot<float>> outs;
  std::deque<InSlot<float>> ins;
  Namespace ns;
};

void addAndRemoveThePairBehind(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Pairs pairs(count + 1);
  pairs.ns.enable();
  for (std::size_t i = 0; i < count; ++i)
    pairs.add(i);
  for (auto _ : state) {
    pairs.add(count);
    pairs.remove(count);
  }
}

BENCHMARK(addAndRemoveThePairBehind)->Arg(100)->Arg(10000);

void enableAndDisable(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  Pairs pairs(count);
  for (std::size_t i = 0; i < count; ++i)
    pairs.add(i);
  for (auto _ : state) {
    pairs.ns.enable();
    state.PauseTiming();
    pairs.ns.disable();
    state.ResumeTiming();
  }
}

BENCHMARK(enableAndDisable)->Arg(10000)->Unit(benchmark::kMillisecond);

void memoryOfIdleSlots(benchmark::State& state) {
  constexpr std::size_t count = 10000;
  double each = 0;
  for (auto _ : state) {
    const std::size_t before = mallinfo2().uordblks;
    Pairs pairs(count);
    for (std::size_t i = 0; i < count; ++i) {
      const std::string number = std::to_string(i);
      pairs.ns.addOutSlot("device/" + number, &pairs.outs[i]);
      pairs.ns.addInSlot("reader/" + number, &pairs.ins[i]);
    }
    each = static_cast<double>(mallinfo2().uordblks - before) / (2 * count);
  }
  state.counters["bytes_per_slot"] = each;
  state.counters["sizeof_out"] = sizeof(OutSlot<float>);
  state.counters["sizeof_in"] = sizeof(InSlot<float>);
}

BENCHMARK(memoryOfIdleSlots)->Iterations(1);

} // namespace

BENCHMARK_MAIN();
