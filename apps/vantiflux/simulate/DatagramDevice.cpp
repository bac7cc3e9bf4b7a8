#include "DatagramDevice.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Session.h"

namespace Simulate {

void DatagramDevice::run(const std::string& to) {
  const Place place = placeOf(to);
  socket_.open("", 0, place.address, place.port);
  Session session(common_.seconds, [this] { socket_.breakWait(); });
  announce(place.address + ":" + std::to_string(place.port));
  auto next = Clock::now();
  while (!common_.ends(frames_) && session.sleepUntil(next)) {
    next = std::max(next, Clock::now() - std::chrono::seconds(1));
    next += std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(1 / common_.rate));
    std::string datagram = frame();
    if (chance_.happens(common_.malform))
      datagram = malformed(std::move(datagram));
    if (!chance_.happens(common_.lose))
      socket_.send(datagram.data(), static_cast<int>(datagram.size()));
    ++frames_;
    if (frames_ == common_.breakAfter)
      session.sleep(common_.pause);
    if (frames_ == common_.restartAfter && session.sleep(common_.pause))
      restart();
  }
}

} // namespace Simulate
