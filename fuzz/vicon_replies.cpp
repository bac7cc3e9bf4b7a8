// What a Vicon server sends: its list of channels, and frames of data after that, decoded as the driver does.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <vantiflux/core/Exception.h>
#include <vantiflux/devices/ViconNode.h>
#include <vantiflux/devices/ViconParser.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace Vantiflux;
  ViconParser parser([&](void* to, std::size_t count) {
    if (count > size)
      return false;
    std::memcpy(to, bytes, count);
    bytes += count;
    size -= count;
    return true;
  });
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
