// Datagrams that claim to be TUIO, cut out of the input: whatever they say, the lists of a frame belong together.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <vantiflux/devices/TUIONode.h>

#include "Input.h"

namespace {

using namespace Vantiflux;

template <class T>
std::vector<T> listAt(const TUIONode& node, const std::string& label) {
  std::vector<LabeledOutSlot> slots;
  node.getOutSlots(label, slots);
  const auto list = dynamic_cast<OutSlot<SmartPtr<std::vector<T>>>&>(*slots.at(0).slot).getValue().getValue();
  return list ? *list : std::vector<T>();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  std::string rest = input.rest();
  TUIONode node;
  // Each begins with its length, in steps of 16; what is left is the last one.
  while (!rest.empty()) {
    const std::size_t length =
        std::min<std::size_t>(static_cast<unsigned char>(rest[0]) * std::size_t{16}, rest.size() - 1);
    node.process_data(rest.data() + 1, static_cast<unsigned>(length == 0 ? rest.size() - 1 : length));
    rest.erase(0, length == 0 ? rest.size() : length + 1);
  }
  const std::size_t count = listAt<long>(node, "eventMap").size();
  fuzz::require(listAt<long>(node, "objectID").size() == count);
  for (const char* const label : {"position", "velocity", "angle", "angularVelocity", "dimension", "sightLoom"})
    fuzz::require(listAt<Vec3<float>>(node, label).size() == count);
  for (const char* const label : {"acceleration", "anglarAcceleration", "volume"})
    fuzz::require(listAt<float>(node, label).size() == count);
  return 0;
}
