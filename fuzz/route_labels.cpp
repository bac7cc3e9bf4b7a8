// Patterns and templates of routes and external routes, as they come from saved files and from the network: matched
// against a label, in bounded time. Three lines: the pattern, the template and the label.
#include <cstdint>
#include <string>

#include <fuzz/Input.h>
#include <vantiflux/core/Labels.h>
#include <vantiflux/core/Namespace.h>
#include <vantiflux/values/SlotTypes.h>

using namespace Vantiflux;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const std::string pattern = input.line();
  const std::string form = input.line();
  const std::string label = input.rest();
  const bool matches = Labels::matches(pattern, label);
  fuzz::require(Labels::matches(label, label));

  // The namespaces agree with it.
  OutSlot<bool> out;
  InSlot<bool> in;
  Namespace parent;
  parent.enable();
  auto owned = std::make_unique<Namespace>();
  Namespace& child = *owned;
  child.addOutSlot(label, &out);
  child.addInSlot("to", &in);
  child.addRoute(pattern, "to");
  child.addExternalRoute(pattern, form);
  parent.addNamespace("child", std::move(owned));
  fuzz::require(out.isConnected() == (matches || Labels::lower(label) == "to"));
  std::vector<LabeledOutSlot> exported;
  parent.getOutSlots("*", exported);
  fuzz::require(exported.size() == (matches ? 1U : 0U));
  parent.clear();
  return 0;
}
