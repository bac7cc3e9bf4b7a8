// Loading a saved namespace of 100,000 elements, beside a bare Expat parse of the same bytes, and where the time goes:
// the parse through XMLWrap, the making of namespaces and nodes, rules, fields. Prints each as a multiple of the bare
// parse at the end.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <expat.h>

#include <vantiflux/core/FieldAccessor.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/xmlwrap/ContentHandler.h>
#include <vantiflux/platform/xmlwrap/XMLReader.h>
#include <vantiflux/state/StateKeeperXML.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// A small device: one slot, two fields.
class BenchNode : public Node {
public:
  BenchNode() {
    addOutSlot("Value", &value_);
    publishSlots();
  }
  ~BenchNode() override;
  const NodeType* type() const override { return &type_; }

  int getRate() const { return rate_; }
  void setRate(int rate) { rate_ = rate; }
  std::string getDevice() const { return device_; }
  void setDevice(const std::string& device) { device_ = device; }

private:
  static Field fields_[];
  static NodeType type_;

  int rate_ = 0;
  std::string device_;
  OutSlot<float> value_;
};

BenchNode::~BenchNode() {
  disable();
}

Field BenchNode::fields_[] = {
    Field("Rate", "", "0", FieldAccessor<BenchNode, int>(&BenchNode::setRate, &BenchNode::getRate)),
    Field("Device", "", "", FieldAccessor<BenchNode, std::string>(&BenchNode::setDevice, &BenchNode::getDevice)),
};

NodeType BenchNode::type_(
    "Bench", [] { return static_cast<Node*>(new BenchNode); }, nullptr, nullptr, nullptr, fields_, 2);

constexpr int elements = 100000;

/// 1,000 namespaces of 19 nodes, 19 fields and 4 routes; a node has two fields and an external route.
std::string mixed() {
  std::string text;
  for (int space = 0; space < elements / 100; ++space) {
    text += "  <Namespace label=\"Room " + std::to_string(space) + "\">\n";
    for (int node = 0; node < 19; ++node) {
      const std::string number = std::to_string(node);
      text += "    <Node label=\"Sensor " + number + "\" type=\"Bench\">\n      <Parameter name=\"Rate\" value=\"1" +
              number + "\"/>\n      <Parameter name=\"Device\" value=\"/dev/ttyS" + number +
              "\"/>\n      <ExternalRoute internal=\"*\" external=\"{NamespaceLabel}/{SlotLabel}\"/>\n    </Node>\n";
      if (node < 4)
        text += "    <Route from=\"Sensor " + number + "/Value\" to=\"Filter " + number + "/Input\"/>\n";
    }
    for (int note = 0; note < 19; ++note)
      text += "    <Parameter name=\"Note " + std::to_string(note) + "\" value=\"text\"/>\n";
    text += "  </Namespace>\n";
  }
  return text;
}

/// One element over and over, "#" being its number.
std::string repeated(const std::string& element) {
  std::string text;
  for (int i = 0; i < elements; ++i) {
    const std::size_t at = element.find('#');
    text += at == std::string::npos ? element : element.substr(0, at) + std::to_string(i) + element.substr(at + 1);
    text += '\n';
  }
  return text;
}

std::string document(const std::string& contents) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Vantiflux versionMajor=\"1\" versionMinor=\"0\">\n" + contents +
         "</Vantiflux>\n";
}

struct Document {
  std::string name, text;
};

const std::vector<Document>& documents() {
  static const std::vector<Document> all{
      {"mixed", document(mixed())},
      {"namespaces", document(repeated("<Namespace label=\"Room #\"/>"))},
      {"equal_labels", document(repeated("<Namespace label=\"Room\"/>"))},
      {"nodes", document(repeated("<Node label=\"Sensor #\" type=\"Bench\"/>"))},
      {"routes", document(repeated("<Route from=\"Sensor #/Value\" to=\"Filter/Input\"/>"))},
      {"pattern_routes", document(repeated("<Route from=\"Sensor #/*\" to=\"Filter/*\"/>"))},
      {"external_routes", document(repeated("<ExternalRoute internal=\"Sensor #/Value\" external=\"{SlotLabel}\"/>"))},
      {"fields", document(repeated("<Parameter name=\"Note #\" value=\"text\"/>"))},
  };
  return all;
}

void bareExpat(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    const XML_Parser parser = XML_ParserCreateNS(nullptr, '\n');
    XML_SetElementHandler(
        parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
    if (XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE) != XML_STATUS_OK)
      throw std::runtime_error("The document is not well-formed");
    XML_ParserFree(parser);
  }
}

void emptyHandler(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    std::istringstream stream(text);
    XMLWrap::ContentHandler handler;
    const auto reader = XMLWrap::XMLReaderFactory::createXMLReader();
    reader->setContentHandler(&handler);
    reader->parse(stream);
  }
}

void load(benchmark::State& state, const std::string& text, bool enabled) {
  for (auto _ : state) {
    auto space = std::make_unique<Namespace>();
    if (enabled)
      space->enable();
    std::istringstream stream(text);
    StateKeeperXML::load(*space, stream);
    state.PauseTiming();
    space.reset();
    state.ResumeTiming();
  }
}

std::unique_ptr<Namespace> loaded(const std::string& text) {
  auto space = std::make_unique<Namespace>();
  std::istringstream stream(text);
  StateKeeperXML::load(*space, stream);
  return space;
}

void destroy(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    state.PauseTiming();
    auto space = loaded(text);
    state.ResumeTiming();
    space.reset();
  }
}

void clear(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    state.PauseTiming();
    auto space = loaded(text);
    space->enable();
    state.ResumeTiming();
    space->clear();
    state.PauseTiming();
    space.reset();
    state.ResumeTiming();
  }
}

void save(benchmark::State& state, const std::string& text) {
  const auto space = loaded(text);
  for (auto _ : state) {
    std::ostringstream stream;
    StateKeeperXML::save(*space, stream);
  }
}

// The parts that a load of the mixed document consists of, without the document.
constexpr int nodes = elements / 100 * 19;

void makeNodes(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::unique_ptr<Node>> made;
    for (int i = 0; i < nodes; ++i)
      made.push_back(NodeType::newInstance("Bench"));
    state.PauseTiming();
    made.clear();
    state.ResumeTiming();
  }
}

void addNodes(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    std::vector<std::unique_ptr<Namespace>> spaces;
    std::vector<std::unique_ptr<Node>> made;
    for (int i = 0; i < nodes; ++i)
      made.push_back(NodeType::newInstance("Bench"));
    for (int i = 0; i < elements / 100; ++i)
      spaces.push_back(std::make_unique<Namespace>());
    state.ResumeTiming();
    for (int i = 0; i < nodes; ++i)
      spaces[static_cast<std::size_t>(i / 19)]->addNamespace("Sensor " + std::to_string(i % 19),
                                                             std::move(made[static_cast<std::size_t>(i)]));
    state.PauseTiming();
    spaces.clear();
    state.ResumeTiming();
  }
}

void setFields(benchmark::State& state) {
  BenchNode node;
  for (auto _ : state)
    for (int i = 0; i < nodes; ++i) {
      node.setFieldValue("Rate", "17");
      node.setFieldValue("Device", "/dev/ttyS17");
    }
}

void addRoutes(benchmark::State& state) {
  for (auto _ : state)
    for (int i = 0; i < elements / 100; ++i) {
      Namespace space;
      for (int route = 0; route < 4; ++route)
        space.addRoute("Sensor " + std::to_string(route) + "/Value", "Filter " + std::to_string(route) + "/Input");
    }
}

/// Keeps the processor times and prints them as ratios at the end.
class Ratios : public benchmark::ConsoleReporter {
public:
  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration)
        times_[run.run_name.function_name].push_back(run.cpu_accumulated_time / static_cast<double>(run.iterations));
  }

  void Finalize() override {
    std::printf("\n%-16s %10s", "CPU ms (x bare)", "Expat");
    for (const char* const stage : stages)
      std::printf(" %16s", stage);
    for (const Document& doc : documents()) {
      const double bare = median(doc.name + "/expat");
      if (bare == 0)
        continue;
      std::printf("\n%-16s %10.1f", doc.name.c_str(), bare * 1e3);
      for (const char* const stage : stages) {
        const double time = median(doc.name + "/" + stage);
        std::printf(" %8.1f (%4.1fx)", time * 1e3, time / bare);
      }
    }
    std::printf("\n");
  }

private:
  static constexpr const char* stages[] = {"xmlwrap", "load", "load_enabled", "clear", "destroy", "save"};

  double median(const std::string& name) {
    std::vector<double>& times = times_[name];
    if (times.empty())
      return 0;
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
  }

  std::map<std::string, std::vector<double>> times_;
};

template <class Run>
void add(const std::string& name, Run run) {
  benchmark::RegisterBenchmark(name.c_str(), run)->Unit(benchmark::kMillisecond)->MinTime(0.3);
}

} // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  for (const Document& doc : documents()) {
    const std::string& text = doc.text;
    add(doc.name + "/expat", [&](benchmark::State& state) { bareExpat(state, text); });
    add(doc.name + "/xmlwrap", [&](benchmark::State& state) { emptyHandler(state, text); });
    add(doc.name + "/load", [&](benchmark::State& state) { load(state, text, false); });
    add(doc.name + "/load_enabled", [&](benchmark::State& state) { load(state, text, true); });
    add(doc.name + "/clear", [&](benchmark::State& state) { clear(state, text); });
    add(doc.name + "/destroy", [&](benchmark::State& state) { destroy(state, text); });
    add(doc.name + "/save", [&](benchmark::State& state) { save(state, text); });
  }
  add("part/make_nodes", makeNodes);
  add("part/add_nodes", addNodes);
  add("part/set_fields", setFields);
  add("part/add_routes", addRoutes);
  Ratios reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}
