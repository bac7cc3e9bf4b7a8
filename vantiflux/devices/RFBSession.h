#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/devices/RFBScreen.h>
#include <vantiflux/devices/RFBStream.h>

namespace Vantiflux {

/// The conversation with a server of remote framebuffers after the handshake, in which its screen is kept up to date.
/// What the server says besides is printed on standard output.
///
/// Encodings: "Raw", "CopyRect" and "Zlib"; besides, the shape of the cursor, "Cursor", and new sizes of the
/// framebuffer, "DesktopSize". Of six more only the names are known: "RRE", "CoRRE", "Hextile", "Tight", "ZlibHex" and
/// "ZRLE". They are asked for all the same, kept on purpose, because set-ups depend on what servers make of the list:
/// one that uses them gets out of step with us. For such a server there is a shorter list.
class VANTIFLUX_API RFBSession {
public:
  static constexpr unsigned maxCursor = 1024; ///< pixels in each direction

  /// Asks for all encodings, or for those with these names, between commas, the one that is liked best first. Other
  /// names are passed over.
  explicit RFBSession(RFBStream& stream, const std::string& names = std::string());

  /// Says who we are, hears what the server has, and tells it how we want it.
  void begin();
  /// Asks for an update: at first for all of the framebuffer, later for what has changed.
  void request();
  /// Reads one message. True if it was an update of the framebuffer.
  bool handleMessage();

  const std::string& name() const noexcept { return name_; }
  const RFBScreen& screen() const noexcept { return screen_; }

  /// The pointer's shape on the server's screen.
  struct Cursor {
    std::uint16_t hotX = 0, hotY = 0, width = 0, height = 0;
    std::vector<unsigned char> pixels; ///< of 32 bits, as they came
    std::vector<unsigned char> mask;   ///< a bit a pixel, rows of whole bytes
  };
  const Cursor& cursor() const noexcept { return cursor_; }
  bool hasNewCursor() const noexcept { return newCursor_; }

private:
  void readServerInit();
  void readUpdate();
  void readRectangle();
  void readCursor(const RFBScreen::Rectangle& shape);
  void printMask() const;
  void skipColourMap();

  RFBStream& stream_;
  std::vector<std::int32_t> encodings_;
  RFBScreen screen_;
  std::string name_;
  bool asked_ = false;
  Cursor cursor_;
  bool newCursor_ = false;
};

} // namespace Vantiflux
