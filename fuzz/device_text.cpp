// What users write for serial ports and raw streams, and the bytes that come from there.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include <fuzz/Input.h>
#include <vantiflux/devices/DeviceText.h>
#include <vantiflux/platform/pelorn/Serial.h>

using namespace Vantiflux;

namespace {

// Well-formed, and back again the same.
void checkUTF8(std::string_view bytes) {
  const std::string text = DeviceText::latin1ToUTF8(bytes);
  std::string back;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto first = static_cast<unsigned char>(text[i]);
    if (first >= 0x80) {
      fuzz::require((first == 0xc2 || first == 0xc3) && ++i < text.size());
      back.push_back(static_cast<char>((first & 3U) << 6 | (static_cast<unsigned char>(text[i]) & 0x3fU)));
    } else {
      back.push_back(static_cast<char>(first));
    }
  }
  fuzz::require(back == bytes);
}

void checkPauses(const std::string& text) {
  std::string sent;
  const bool done = DeviceText::sendWithPauses(
      text,
      [&](std::string_view piece) {
        sent += piece;
        return true;
      },
      [&](int) {
        sent += '#';
        return true;
      });
  fuzz::require(done && sent == text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text = fuzz::Input(bytes, size).rest();
  checkUTF8(text);
  checkPauses(text);
  Pelorn::Serial port;
  port.setDevice(text);
  const std::string path = port.getDevicePath();
  fuzz::require(path.empty() || path.find('\0') == std::string::npos);
  port.setParity(text);
  port.setHandshake(text);
  return 0;
}
