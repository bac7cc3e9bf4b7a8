// What one pose costs a driver, from the device's bytes to the three slots written: the node's whole path, beside the
// same bytes only read. In a combined measurement with filters, a reader of the matrix takes it on.
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/devices/ARTNode.h>
#include <vantiflux/devices/FastrakNode.h>
#include <vantiflux/devices/ViconNode.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// As many different poses as a driver may see before it sees one again.
constexpr int poses = 256;

std::vector<std::string> fastrakLines() {
  std::vector<std::string> lines;
  for (int i = 0; i < poses; ++i) {
    char line[64];
    std::snprintf(line, sizeof line, "02 %7.2f%7.2f%7.2f%7.4f%7.4f%7.4f%7.4f 0\r", -40.0 + i * 0.31, 12.0 + i * 0.07,
                  100.0 - i * 0.11, 0.5, 0.5, -0.5, 0.5);
    lines.emplace_back(line);
  }
  return lines;
}

std::vector<std::string> artDatagrams() {
  std::vector<std::string> datagrams;
  for (int i = 0; i < poses; ++i) {
    char text[256];
    std::snprintf(text, sizeof text,
                  "fr %d\nts 39596.024831\n6dcal 1\n6d 1 [0 1.000][%.3f %.3f %.3f -160.4 -3.93 -15.94]"
                  "[0.000000 1.000000 0.000000 -1.000000 0.000000 0.000000 0.000000 0.000000 1.000000]\n",
                  i, -400.0 + i * 3.1, 120.0 + i * 0.7, 1000.0 - i * 1.1);
    datagrams.emplace_back(text);
  }
  return datagrams;
}

void fastrakParse(benchmark::State& state) {
  const auto lines = fastrakLines();
  FastrakRecord record;
  for (std::size_t i = 0; auto _ : state) {
    benchmark::DoNotOptimize(FastrakRecord::parse(lines[i++ % poses], record));
    benchmark::DoNotOptimize(&record);
  }
  state.SetItemsProcessed(state.iterations());
}

void fastrakPose(benchmark::State& state) {
  const auto lines = fastrakLines();
  FastrakNode node;
  for (std::size_t i = 0; auto _ : state)
    node.takeLine(lines[i++ % poses]);
  state.SetItemsProcessed(state.iterations());
}

void artParse(benchmark::State& state) {
  const auto datagrams = artDatagrams();
  ARTParser parser(16, 4);
  for (std::size_t i = 0; auto _ : state)
    benchmark::DoNotOptimize(parser.parse(datagrams[i++ % poses]));
  state.SetItemsProcessed(state.iterations());
}

void artPose(benchmark::State& state) {
  const auto datagrams = artDatagrams();
  Namespace space;
  space.enable();
  auto* const node = new ARTNode;
  space.addNamespace("art", std::unique_ptr<Node>(node));
  const auto intake = [node] {
    const TreeLock lock;
    return std::make_unique<ARTNode::Intake>(*node);
  }();
  for (std::size_t i = 0; auto _ : state)
    intake->take(datagrams[i++ % poses]);
  state.SetItemsProcessed(state.iterations());
}

void viconDecode(benchmark::State& state) {
  ViconNode::BodyChannel channel;
  channel.number = {0, 1, 2, 3, 4, 5};
  std::vector<double> values{0.1, 0.2, 0.3, 100, 200, 300};
  for (auto _ : state) {
    values[3] += 0.25;
    const auto body = ViconNode::decode(channel, values);
    benchmark::DoNotOptimize(&body);
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(fastrakParse);
BENCHMARK(fastrakPose);
BENCHMARK(artParse);
BENCHMARK(artPose);
BENCHMARK(viconDecode);

} // namespace

BENCHMARK_MAIN();
