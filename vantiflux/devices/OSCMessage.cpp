#include <vantiflux/devices/OSCMessage.h>

#include <algorithm>
#include <bit>
#include <string>

namespace Vantiflux::OSC {

namespace {

constexpr std::string_view bundleMark("#bundle\0", 8);
constexpr std::size_t bundleHead = 16; // the mark and a time tag

std::size_t padded(std::size_t size) {
  return (size + 3) / 4 * 4;
}

/// Takes that many bytes from the front.
std::string_view take(std::string_view& data, std::size_t size) {
  if (size > data.size())
    throw Malformed("cut short");
  const std::string_view taken = data.substr(0, size);
  data.remove_prefix(size);
  return taken;
}

/// Takes what pads `size` bytes. At the very end it may be missing.
void takePadding(std::string_view& data, std::size_t size) {
  data.remove_prefix(std::min(padded(size) - size, data.size()));
}

std::string_view takeString(std::string_view& data) {
  const std::size_t end = data.find('\0');
  if (end == std::string_view::npos)
    throw Malformed("a text without an end");
  const std::string_view text = take(data, end + 1).substr(0, end);
  takePadding(data, end + 1);
  return text;
}

std::string_view takeArgument(char type, std::string_view& data) {
  switch (type) {
  case 's':
  case 'S':
    return takeString(data);
  case 'b': {
    const std::size_t size = parse_uint(take(data, 4).data());
    const std::string_view bytes = take(data, size);
    takePadding(data, size);
    return bytes;
  }
  case 'c':
  case 'f':
  case 'i':
  case 'm':
  case 'r':
    return take(data, 4);
  case 'd':
  case 'h':
  case 't':
    return take(data, 8);
  default:
    return {};
  }
}

} // namespace

Malformed::~Malformed() = default;

std::uint32_t parse_uint(const char* bytes) noexcept {
  std::uint32_t value = 0;
  for (int i = 0; i < 4; ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

float parse_float(const char* bytes) noexcept {
  return std::bit_cast<float>(parse_uint(bytes));
}

bool readBundle(std::string_view datagram, std::vector<std::string_view>& elements) {
  elements.clear();
  if (!datagram.starts_with(bundleMark))
    return false;
  if (datagram.size() <= bundleHead)
    return true;
  datagram.remove_prefix(bundleHead);
  while (!datagram.empty()) {
    const std::size_t size = parse_uint(take(datagram, 4).data());
    elements.push_back(take(datagram, size));
  }
  return true;
}

void Arguments::process_tag(std::string_view data) {
  arguments_.clear();
  if (!data.starts_with(','))
    return;
  std::string_view types = takeString(data);
  types.remove_prefix(1);
  for (const char type : types)
    arguments_.push_back({type, takeArgument(type, data)});
}

const Argument& Arguments::checked(std::size_t i, char type) const {
  if (i >= arguments_.size())
    throw Malformed("argument " + std::to_string(i + 1) + " is missing");
  if (arguments_[i].type != type)
    throw Malformed("argument " + std::to_string(i + 1) + " is not of type " + type);
  return arguments_[i];
}

std::string_view Arguments::text(std::size_t i) const {
  const bool symbol = i < arguments_.size() && arguments_[i].type == 'S';
  return checked(i, symbol ? 'S' : 's').bytes;
}

std::int32_t Arguments::integer(std::size_t i) const {
  return static_cast<std::int32_t>(parse_uint(checked(i, 'i').bytes.data()));
}

float Arguments::number(std::size_t i) const {
  return parse_float(checked(i, 'f').bytes.data());
}

} // namespace Vantiflux::OSC
