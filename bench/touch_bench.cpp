// What touches, a remote desktop and gestures cost, beside what cannot be done without: a bare walk through the same
// bytes, a copy of as many, a bare inflate, a plain loop over the same table.
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <benchmark/benchmark.h>
#include <zlib.h>

#include <vantiflux/devices/RFBScreen.h>
#include <vantiflux/devices/TUIONode.h>
#include <vantiflux/filters/DTW.h>

#include "touch_yardstick.h"

namespace {

using namespace Vantiflux;

// A frame of 30 touches, from the datagram to the last slot.

constexpr int touches = 30;

std::string bigEndian(std::uint32_t value) {
  return RFBMessage().u32(value).bytes();
}

std::string padded(std::string text) {
  do
    text += '\0';
  while (text.size() % 4 != 0);
  return text;
}

std::string message(const std::string& types, const std::string& arguments) {
  const std::string body = padded("/tuio/2Dcur") + padded(types) + arguments;
  return bigEndian(static_cast<std::uint32_t>(body.size())) + body;
}

std::string frame(int number) {
  std::string sessions;
  std::string sets;
  for (int i = 0; i < touches; ++i) {
    sessions += bigEndian(static_cast<std::uint32_t>(100 + i));
    std::string set = padded("set") + bigEndian(static_cast<std::uint32_t>(100 + i));
    for (int k = 0; k < 5; ++k)
      set += bigEndian(std::bit_cast<std::uint32_t>(static_cast<float>(i + number) / 64));
    sets += message(",sifffff", set);
  }
  return std::string("#bundle\0", 8) + bigEndian(0) + bigEndian(1) +
         message(",s" + std::string(touches, 'i'), padded("alive") + sessions) + sets +
         message(",si", padded("fseq") + bigEndian(static_cast<std::uint32_t>(number)));
}

std::vector<std::string> frames() {
  std::vector<std::string> all;
  for (int i = 0; i < 64; ++i)
    all.push_back(frame(i));
  return all;
}

void tuioFrame(benchmark::State& state) {
  const auto all = frames();
  TUIONode node;
  for (std::size_t i = 0; auto _ : state)
    if (const std::string& next = all[i++ % all.size()];
        !node.process_data(next.data(), static_cast<unsigned>(next.size())))
      std::abort();
  state.SetItemsProcessed(state.iterations());
}

/// Looks at every argument of every message, and keeps nothing but their sum.
void tuioBareParse(benchmark::State& state) {
  const auto all = frames();
  for (std::size_t i = 0; auto _ : state)
    benchmark::DoNotOptimize(Yardstick::walkBundle(all[i++ % all.size()]));
  state.SetItemsProcessed(state.iterations());
}

// A whole update of a screen of 1920 x 1080.

constexpr RFBScreen::Rectangle whole{0, 0, 1920, 1080};
constexpr std::size_t wireSize = std::size_t{1920} * 1080 * 4;

/// A desktop: flat areas, and text-like noise in a third of it.
std::string desktop() {
  std::mt19937 random(1);
  std::string bytes(wireSize, '\0');
  for (std::size_t i = 0; i < wireSize; i += 4) {
    const std::size_t x = i / 4 % 1920;
    const std::uint32_t pixel =
        x / 64 % 3 == 0 ? static_cast<std::uint32_t>(random()) : static_cast<std::uint32_t>(0x00F0E0D0 + x / 64);
    std::memcpy(bytes.data() + i, &pixel, 4);
  }
  return bytes;
}

/// A stream that says the same again and again.
class Again {
public:
  explicit Again(const std::string& bytes)
      : bytes_(bytes), stream(
                           [this](void* to, std::size_t size) {
                             if (size > bytes_.size() - at_)
                               return false;
                             std::memcpy(to, bytes_.data() + at_, size);
                             at_ = (at_ + size) % bytes_.size();
                             return true;
                           },
                           [](std::string_view) {}) {}

private:
  const std::string& bytes_;
  std::size_t at_ = 0;

public:
  RFBStream stream;
};

void vncRaw(benchmark::State& state) {
  const std::string bytes = desktop();
  Again server(bytes);
  RFBScreen screen;
  screen.resize(1920, 1080);
  for (auto _ : state)
    screen.readRaw(server.stream, whole);
  state.SetBytesProcessed(static_cast<std::int64_t>(wireSize) * state.iterations());
}

void vncRawMemcpy(benchmark::State& state) {
  const std::string bytes = desktop();
  std::vector<char> to(wireSize);
  for (auto _ : state) {
    std::memcpy(to.data(), bytes.data(), wireSize);
    benchmark::DoNotOptimize(to.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(wireSize) * state.iterations());
}

std::string compressed() {
  const std::string bytes = desktop();
  std::string out(compressBound(wireSize), '\0');
  uLongf size = out.size();
  compress2(reinterpret_cast<Bytef*>(out.data()), &size, reinterpret_cast<const Bytef*>(bytes.data()), wireSize, 6);
  out.resize(size);
  return out;
}

// A stream of compressed bytes goes on for ever in a session; here each update is a session of its own.
void vncZlib(benchmark::State& state) {
  const std::string packed = compressed();
  const std::string bytes = bigEndian(static_cast<std::uint32_t>(packed.size())) + packed;
  for (auto _ : state) {
    Again server(bytes);
    RFBScreen screen;
    screen.resize(1920, 1080);
    screen.readZlib(server.stream, whole);
    benchmark::DoNotOptimize(screen.width());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(wireSize) * state.iterations());
}

void vncZlibBareInflate(benchmark::State& state) {
  const std::string packed = compressed();
  std::vector<Bytef> to(wireSize);
  for (auto _ : state) {
    uLongf size = wireSize;
    if (uncompress(to.data(), &size, reinterpret_cast<const Bytef*>(packed.data()), packed.size()) != Z_OK)
      std::abort();
    benchmark::DoNotOptimize(to.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(wireSize) * state.iterations());
}

// One gesture against 10 classes of 10 templates of 40 points.

DTW::Template gesture(std::mt19937& random) {
  DTW::Template series(3, DTW::Series(40));
  for (DTW::Series& one : series)
    for (double& value : one)
      value = static_cast<double>(random() % 33) - 16;
  return series;
}

/// The templates, in a folder for as long as it takes to read them.
struct Known {
  Known() {
    std::mt19937 random(7);
    std::string pattern = (std::filesystem::temp_directory_path() / "vantiflux_bench_XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
      std::abort();
    const std::filesystem::path folder = pattern;
    for (const char* const name : {"circles", "zets", "squares", "throws", "xs", "circle_right", "right_to_left",
                                   "left_to_right", "up_to_down", "down_to_up"}) {
      std::filesystem::create_directories(folder / name);
      for (int i = 0; i < 10; ++i) {
        patterns.push_back(gesture(random));
        std::ofstream file(folder / name / (std::to_string(i) + ".csv"));
        for (std::size_t k = 0; k < 40; ++k)
          file << k << ',' << patterns.back()[0][k] << ',' << patterns.back()[1][k] << ',' << patterns.back()[2][k]
               << '\n';
      }
    }
    known = std::make_unique<DTW::mydtw>(folder.string());
    std::filesystem::remove_all(folder);
    query = gesture(random);
  }
  std::vector<DTW::Template> patterns;
  std::unique_ptr<DTW::mydtw> known;
  DTW::Template query;
};

void gestureChecked(benchmark::State& state) {
  const Known all;
  for (auto _ : state)
    benchmark::DoNotOptimize(all.known->check_gesture(all.query).distance);
  state.SetItemsProcessed(state.iterations());
}

void gesturePlainLoop(benchmark::State& state) {
  const Known all;
  if (Yardstick::leastSum(all.patterns, all.query) != all.known->check_gesture(all.query).distance)
    std::abort();
  for (auto _ : state)
    benchmark::DoNotOptimize(Yardstick::leastSum(all.patterns, all.query));
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(tuioFrame);
BENCHMARK(tuioBareParse);
BENCHMARK(vncRaw);
BENCHMARK(vncRawMemcpy);
BENCHMARK(vncZlib);
BENCHMARK(vncZlibBareInflate);
BENCHMARK(gestureChecked);
BENCHMARK(gesturePlainLoop);

} // namespace

BENCHMARK_MAIN();
