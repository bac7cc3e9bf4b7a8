#include <vantiflux/devices/DeviceText.h>

#include <algorithm>
#include <cstddef>

namespace Vantiflux::DeviceText {

std::string latin1ToUTF8(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      text.push_back(c);
    } else {
      text.push_back(static_cast<char>(0xC0 | (byte >> 6)));
      text.push_back(static_cast<char>(0x80 | (byte & 0x3F)));
    }
  }
  return text;
}

std::string shown(std::string_view bytes, std::size_t limit) {
  const bool whole = bytes.size() <= limit;
  std::string text(bytes.substr(0, limit));
  std::replace_if(
      text.begin(), text.end(),
      [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte < 0x20 || (byte >= 0x7F && byte < 0xA0);
      },
      ' ');
  return latin1ToUTF8(text) + (whole ? "" : "...");
}

bool sendWithPauses(std::string_view text, const std::function<bool(std::string_view piece)>& send,
                    const std::function<bool(int milliseconds)>& sleep) {
  for (;;) {
    const std::size_t mark = text.find('#');
    const std::string_view piece = text.substr(0, mark);
    if (!piece.empty() && !send(piece))
      return false;
    if (mark == std::string_view::npos)
      return true;
    if (!sleep(pause))
      return false;
    text.remove_prefix(mark + 1);
  }
}

} // namespace Vantiflux::DeviceText
