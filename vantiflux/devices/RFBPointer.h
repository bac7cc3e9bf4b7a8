#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// The pointer that we move on a server's screen: what it should be, and what the server knows of it. The server is
/// told when the two differ. What happens before there is a server is told when there is one, and what cannot be sent
/// is told later, as it is then.
///
/// *Threads.* None of its own: the owner guards it.
class VANTIFLUX_API RFBPointer {
public:
  /// Sends a message, or refuses to. `pressed`: a button is not as the server knows it; or else it is a mere move.
  using Send = std::function<bool(std::string_view message, bool pressed)>;

  /// A server knows of no button that is down, and has the pointer at 0, 0.
  void open(Send send, std::uint16_t width, std::uint16_t height);
  /// The framebuffer has another size: counts from the next change on.
  void resize(std::uint16_t width, std::uint16_t height);
  void close();
  /// To be called now and then: tells what could not be sent.
  void tellAgain();

  /// From 0 to 1; (0, 0) is the lower left corner. What lies outside counts as the border, and what is no number is
  /// passed over.
  void move(float x, float y);
  void press(unsigned bit, bool down);

private:
  void tell();

  Send send_;
  bool refused_ = false; ///< the latest message
  std::uint16_t width_ = 1;
  std::uint16_t height_ = 1;
  // What it should be.
  bool moved_ = false; ///< has ever been told where to be
  float x_ = 0;
  float y_ = 0;
  std::uint8_t buttons_ = 0;
  // What the server knows.
  std::uint16_t toldX_ = 0;
  std::uint16_t toldY_ = 0;
  std::uint8_t toldButtons_ = 0;
};

} // namespace Vantiflux
