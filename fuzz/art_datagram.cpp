// A datagram that claims to come from an ART controller: records are finite and of bodies within the limits.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include <vantiflux/devices/ARTParser.h>

namespace {

using Record = Vantiflux::ARTParser::BodyRecord;

bool isSound(const Record& record) {
  const auto finite = [](float value) { return std::isfinite(value); };
  return std::all_of(record.position.begin(), record.position.end(), finite) &&
         std::all_of(record.rotation.begin(), record.rotation.end(), finite);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  Vantiflux::ARTParser parser(4, 2);
  const std::string_view datagram(reinterpret_cast<const char*>(bytes), size);
  const bool taken = parser.parse(datagram);
  if (taken != datagram.starts_with("fr") || parser.bodies().size() != 4 || parser.sticks().size() != 2)
    std::abort();
  if (!std::all_of(parser.bodies().begin(), parser.bodies().end(), isSound) ||
      !std::all_of(parser.sticks().begin(), parser.sticks().end(), isSound))
    std::abort();
  for (std::size_t i = 1; i < 4; ++i) // the first may be a single marker
    if (parser.bodies()[i].valid && parser.bodies()[i].id != i)
      std::abort();
  return 0;
}
