// All that a VNC server says, from its version on: the client ends with a reason, or because there is no more.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include <vantiflux/devices/RFBHandshake.h>
#include <vantiflux/devices/RFBSession.h>

#include "Input.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); // it prints all that it hears
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  using namespace Vantiflux;
  fuzz::Input input(bytes, size);
  RFBStream stream([&input](void* to, std::size_t count) { return input.read(to, count); },
                   [](std::string_view message) { fuzz::require(!message.empty() && message.size() < 100); });
  try {
    RFBHandshake handshake(stream, "password");
    if (!handshake.run()) {
      fuzz::require(!handshake.refusal().empty());
      return 0;
    }
    RFBSession session(stream);
    session.begin();
    for (;;) {
      session.handleMessage();
      const RFBScreen& screen = session.screen();
      fuzz::require(std::uint64_t{screen.width()} * screen.height() <= RFBScreen::maxPixels);
      fuzz::require(session.cursor().width <= RFBSession::maxCursor);
    }
  } catch (const RFBStream::Ended& e) {
    fuzz::require(!e.getMessage().empty());
  } catch (const RFBStream::Trouble& e) {
    fuzz::require(!e.getMessage().empty());
  }
  return 0;
}
