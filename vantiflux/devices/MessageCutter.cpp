#include <vantiflux/devices/MessageCutter.h>

#include <algorithm>

namespace Vantiflux {

MessageCutter::MessageCutter(int maxBytes, int delimiter) noexcept
    : maxBytes_(maxBytes < 0 ? limit : std::min(static_cast<std::size_t>(maxBytes), limit)), delimiter_(delimiter) {}

bool MessageCutter::isComplete(const std::string& message) const noexcept {
  return message.size() >= maxBytes_ ||
         (delimiter_ >= 0 && static_cast<int>(static_cast<unsigned char>(message.back())) == delimiter_);
}

bool MessageCutter::next(Pelorn::StreamBuf& stream, std::string& message) const {
  message.clear();
  do {
    if (!stream.waitForData())
      return false;
    do {
      const int byte = stream.sbumpc();
      if (byte == Pelorn::StreamBuf::traits_type::eof())
        return false;
      message.push_back(static_cast<char>(byte));
      if (isComplete(message))
        return true;
    } while (stream.in_avail() > 0);
  } while (delimiter_ >= 0);
  return true;
}

} // namespace Vantiflux
