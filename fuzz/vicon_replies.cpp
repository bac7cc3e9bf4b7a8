// What a Vicon server sends: its list of channels, and frames of data after that, decoded as the driver does.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include <vantiflux/core/Exception.h>
#include <vantiflux/devices/ViconNode.h>
#include <vantiflux/devices/ViconParser.h>

#include "Input.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace Vantiflux;
  fuzz::Input input(bytes, size);
  ViconParser parser([&input](void* to, std::size_t count) { return input.read(to, count); });
  try {
    const ViconChannels channels = parser.readChannels();
    std::vector<double> values(channels.names().size());
    for (;;) {
      parser.readData(values);
      for (const MarkerChannel& marker : channels.markers())
        static_cast<void>(ViconNode::decode(marker, values));
      for (const BodyChannel& body : channels.bodies())
        static_cast<void>(ViconNode::decode(body, values));
      if (values.empty())
        return 0;
    }
  } catch (const Exception& e) {
    if (e.getMessage().empty())
      std::abort();
  }
  return 0;
}
