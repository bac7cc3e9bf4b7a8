#include <vantiflux/devices/ViconParser.h>

#include <algorithm>

#include <vantiflux/core/Exception.h>

namespace Vantiflux {

constexpr std::array<std::string_view, MarkerChannel::channels> ViconChannels::ClientCodes::markerTokens_{
    "<P-X>", "<P-Y>", "<P-Z>", "<P-O>"};
constexpr std::array<std::string_view, BodyChannel::channels> ViconChannels::ClientCodes::bodyTokens_{
    "<A-X>", "<A-Y>", "<A-Z>", "<T-X>", "<T-Y>", "<T-Z>"};

namespace {

template <class Channel>
Channel* findName(std::vector<Channel>& channels, std::string_view name) {
  const auto at =
      std::find_if(channels.begin(), channels.end(), [name](const Channel& channel) { return channel.name == name; });
  return at == channels.end() ? nullptr : &*at;
}

/// The place of the token in the table; the table's size if it is not there.
template <std::size_t Size>
std::size_t findToken(const std::array<std::string_view, Size>& tokens, std::string_view token) {
  return static_cast<std::size_t>(std::find(tokens.begin(), tokens.end(), token) - tokens.begin());
}

template <class Channel>
void setNumber(Channel& channel, std::size_t component, std::int32_t number) {
  if (component < Channel::channels)
    channel.number[component] = number;
}

template <class Channel>
Channel& addName(std::vector<Channel>& channels, std::string_view name) {
  channels.emplace_back().name = name;
  return channels.back();
}

} // namespace

// A name without brackets has an empty token. What is known as a marker or a body stays that, whatever tokens follow.
void ViconChannels::add(const std::string& channel) {
  const auto number = static_cast<std::int32_t>(names_.size());
  names_.push_back(channel);
  const std::string_view text = names_.back();
  const std::size_t begin = std::min(text.find('<'), text.size());
  const std::size_t end = std::min(text.find('>', begin), text.size());
  const std::string_view token = text.substr(begin, end + 1 - begin);
  std::string_view name = text.substr(0, begin);
  name = name.substr(0, name.rfind(' '));

  const std::size_t ofMarker = findToken(ClientCodes::markerTokens_, token);
  const std::size_t ofBody = findToken(ClientCodes::bodyTokens_, token);
  if (MarkerChannel* const marker = findName(markers_, name))
    setNumber(*marker, ofMarker, number);
  else if (BodyChannel* const body = findName(bodies_, name))
    setNumber(*body, ofBody, number);
  else if (ofMarker < MarkerChannel::channels)
    setNumber(addName(markers_, name), ofMarker, number);
  else if (ofBody < BodyChannel::channels)
    setNumber(addName(bodies_, name), ofBody, number);
  else if (token == "<F>")
    frame_ = number;
}

ViconChannels ViconParser::readChannels() {
  readHead(Info);
  const std::int64_t count = readInteger();
  if (count < 0 || count > maxChannels)
    throw Exception("Bad Packet");
  ViconChannels channels;
  std::string name;
  for (std::int64_t i = 0; i < count; ++i) {
    const std::int64_t length = readInteger();
    if (length < 0 || length > maxNameLength)
      throw Exception("Bad Packet");
    name.resize(static_cast<std::size_t>(length));
    read(name.data(), name.size());
    channels.add(name);
  }
  return channels;
}

void ViconParser::readData(std::vector<double>& values) {
  readHead(Data);
  if (readInteger() != static_cast<std::int64_t>(values.size()))
    throw Exception("Bad Data Packet");
  read(values.data(), values.size() * sizeof(double));
}

void ViconParser::readHead(Type type) {
  const std::int64_t first = readInteger();
  if (readInteger() != 1)
    throw Exception("Bad Packet");
  if (first != type)
    throw Exception("Bad Reply Type");
}

std::int64_t ViconParser::readInteger() {
  std::int64_t value = 0;
  read(&value, sizeof value);
  return value;
}

void ViconParser::read(void* bytes, std::size_t size) {
  if (size != 0 && !source_(bytes, size))
    throw Exception("Error Recieving");
}

} // namespace Vantiflux
