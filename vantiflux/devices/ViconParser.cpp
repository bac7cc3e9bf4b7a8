#include <vantiflux/devices/ViconParser.h>

#include <algorithm>

#include <vantiflux/core/Exception.h>

namespace Vantiflux {

constexpr ViconChannels::ClientCodes::MarkerTokens ViconChannels::ClientCodes::markerTokens_ = MakeMarkerTokens();
constexpr ViconChannels::ClientCodes::BodyTokens ViconChannels::ClientCodes::bodyTokens_ = MakeBodyTokens();

namespace {

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

} // namespace

template <class Channel>
Channel* ViconChannels::find(std::vector<Channel>& channels, const Places& places, const std::string& name) {
  const auto at = places.find(name);
  return at == places.end() ? nullptr : &channels[at->second];
}

template <class Channel>
Channel& ViconChannels::append(std::vector<Channel>& channels, Places& places, const std::string& name) {
  places.emplace(name, channels.size());
  channels.emplace_back().name = name;
  return channels.back();
}

// A name without brackets has an empty token. What is known as a marker or a body stays that, whatever tokens follow.
void ViconChannels::add(const std::string& channel) {
  const auto number = static_cast<std::int32_t>(names_.size());
  names_.push_back(channel);
  const std::string_view text = names_.back();
  const std::size_t begin = std::min(text.find('<'), text.size());
  const std::size_t end = std::min(text.find('>', begin), text.size());
  const std::string_view token = text.substr(begin, end + 1 - begin);
  const std::string_view head = text.substr(0, begin);
  const std::string name(head.substr(0, head.rfind(' ')));

  const std::size_t ofMarker = findToken(ClientCodes::markerTokens_, token);
  const std::size_t ofBody = findToken(ClientCodes::bodyTokens_, token);
  if (MarkerChannel* const marker = find(markers_, markerPlaces_, name))
    setNumber(*marker, ofMarker, number);
  else if (BodyChannel* const body = find(bodies_, bodyPlaces_, name))
    setNumber(*body, ofBody, number);
  else if (ofMarker < MarkerChannel::channels)
    setNumber(append(markers_, markerPlaces_, name), ofMarker, number);
  else if (ofBody < BodyChannel::channels)
    setNumber(append(bodies_, bodyPlaces_, name), ofBody, number);
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
