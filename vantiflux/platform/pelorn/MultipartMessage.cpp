#include <vantiflux/platform/pelorn/MultipartMessage.h>

#include <algorithm>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

namespace {

constexpr std::size_t chunk = 65536;

} // namespace

// A line end in front of the first delimiter belongs to it, as it does to every other.
MultipartMessage::MultipartMessage(std::istream& stream, const std::string& boundary)
    : stream_(stream), delimiter_("\r\n--" + boundary), buffer_("\r\n"), inPart_(true) {
  next();
}

// Reads on; false at the end of the stream.
bool MultipartMessage::fill() {
  buffer_.erase(0, at_);
  at_ = 0;
  const std::size_t size = buffer_.size();
  buffer_.resize(size + chunk);
  stream_.read(buffer_.data() + size, static_cast<std::streamsize>(chunk));
  buffer_.resize(size + static_cast<std::size_t>(stream_.gcount()));
  return buffer_.size() > size;
}

bool MultipartMessage::body(std::string& text) {
  text.clear();
  while (inPart_) {
    const std::size_t found = rest().find(delimiter_);
    const std::size_t sure = rest().size() - std::min(rest().size(), delimiter_.size() - 1);
    const std::size_t taken = found != std::string_view::npos ? found : sure;
    text.append(rest().substr(0, taken));
    at_ += taken;
    if (found != std::string_view::npos) {
      at_ += delimiter_.size();
      inPart_ = false;
      return true;
    }
    if (!fill()) {
      text.append(rest());
      at_ = buffer_.size();
      inPart_ = false;
      ended_ = true;
    }
  }
  return !ended_;
}

bool MultipartMessage::next() {
  headers.clear();
  while (inPart_) { // what nobody wanted goes by in pieces
    const std::size_t found = rest().find(delimiter_);
    if (found != std::string_view::npos) {
      at_ += found + delimiter_.size();
      inPart_ = false;
    } else {
      at_ += rest().size() - std::min(rest().size(), delimiter_.size() - 1);
      if (!fill()) {
        ended_ = true;
        inPart_ = false;
      }
    }
  }
  if (ended_)
    return false;
  while (rest().size() < 2 && fill()) {
  }
  if (rest().size() < 2 || rest().substr(0, 2) == "--") {
    ended_ = true;
    return false;
  }
  inPart_ = readHeaders();
  ended_ = !inPart_;
  return inPart_;
}

// From behind a delimiter to the empty line; false when there is none. What stands in the line of the delimiter is
// padding.
bool MultipartMessage::readHeaders() {
  std::size_t end = std::string_view::npos;
  while ((end = rest().substr(0, maxHeaders).find("\r\n\r\n")) == std::string_view::npos)
    if (rest().size() >= maxHeaders || !fill())
      return false;
  std::string_view lines = rest().substr(0, end);
  at_ += end + 4;
  lines.remove_prefix(std::min(lines.find("\r\n"), lines.size()));
  while (!lines.empty()) {
    lines.remove_prefix(2);
    const std::string_view line = lines.substr(0, lines.find("\r\n"));
    lines.remove_prefix(line.size());
    const std::size_t colon = line.find(':');
    if (colon != std::string_view::npos && colon > 0)
      headers.addParam(HTTPText::trim(line.substr(0, colon)), HTTPText::trim(line.substr(colon + 1)));
  }
  return true;
}

} // namespace Pelorn
