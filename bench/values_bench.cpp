// What a value costs on its way through a slot: copying a matrix is to cost no more than copying its bytes.
#include <array>
#include <cstring>

#include <benchmark/benchmark.h>

#include <vantiflux/values/Matrix4.h>

namespace {

using Vantiflux::Matrix4;

constexpr std::size_t count = 1024;

void copyMatrix(benchmark::State& state) {
  std::array<Matrix4<float>, count> from;
  std::array<Matrix4<float>, count> to;
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i) {
      to[i] = from[i];
      benchmark::DoNotOptimize(to[i]);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(copyMatrix);

void copyBytesYardstick(benchmark::State& state) {
  using Bytes = std::array<unsigned char, sizeof(Matrix4<float>)>;
  std::array<Bytes, count> from{};
  std::array<Bytes, count> to{};
  for (auto _ : state) {
    for (std::size_t i = 0; i < count; ++i) {
      std::memcpy(to[i].data(), from[i].data(), sizeof(Bytes));
      benchmark::DoNotOptimize(to[i]);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(count));
}
BENCHMARK(copyBytesYardstick);

void splitTransform(benchmark::State& state) {
  const Matrix4<float> m({0.8F, -0.6F, 0, 1, 0.6F, 0.8F, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1});
  std::array<float, 7> t{};
  for (auto _ : state) {
    m.getTransform(t[0], t[1], t[2], t[3], t[4], t[5], t[6]);
    benchmark::DoNotOptimize(t);
  }
}
BENCHMARK(splitTransform);

} // namespace

BENCHMARK_MAIN();
