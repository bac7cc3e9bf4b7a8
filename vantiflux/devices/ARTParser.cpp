#include <vantiflux/devices/ARTParser.h>

#include <algorithm>
#include <tuple>

#include <vantiflux/devices/TextCursor.h>

namespace Vantiflux {

namespace {

using Record = ARTParser::BodyRecord;

/// Where the next line begins that has this prefix.
std::size_t findLine(std::string_view text, std::string_view prefix, std::size_t from) {
  for (std::size_t at = text.find(prefix, from); at != std::string_view::npos; at = text.find(prefix, at + 1))
    if (at == 0 || text[at - 1] == '\n')
      return at;
  return std::string_view::npos;
}

/// The rest of the line, without its line feed.
std::string_view lineAt(std::string_view text, std::size_t at) {
  return text.substr(at, text.find('\n', at) - at);
}

template <std::size_t Size>
bool readGroup(TextCursor& cursor, std::array<float, Size>& values) {
  return cursor.take('[') && std::apply([&](auto&... value) { return cursor.numbers(value...); }, values) &&
         cursor.take(']');
}

// What stands in the brackets before those of the position. A negative number is one of no body.
bool readHead(TextCursor& cursor, Record& record) {
  std::int64_t id = 0;
  if (!cursor.take('[') || !cursor.number(id))
    return false;
  record.id = static_cast<std::uint64_t>(id);
  return true;
}

bool readButtons(TextCursor& cursor, Record& record) {
  std::int64_t buttons = 0;
  if (!cursor.number(buttons))
    return false;
  record.buttons = static_cast<std::uint32_t>(buttons);
  return true;
}

bool readPlaceAndTurn(TextCursor& cursor, Record& record) {
  return readGroup(cursor, record.position) && readGroup(cursor, record.rotation);
}

bool readPlaceAnglesAndTurn(TextCursor& cursor, Record& record) {
  std::array<float, 6> place{};
  if (!readGroup(cursor, place) || !readGroup(cursor, record.rotation))
    return false;
  std::copy_n(place.begin(), 3, record.position.begin());
  std::copy_n(place.begin() + 3, 3, record.angles.begin());
  return true;
}

bool readBody(TextCursor& cursor, Record& record) {
  return readHead(cursor, record) && cursor.number(record.quality) && cursor.take(']') &&
         readPlaceAnglesAndTurn(cursor, record);
}

bool readStick(TextCursor& cursor, Record& record) {
  return readHead(cursor, record) && cursor.number(record.quality) && readButtons(cursor, record) && cursor.take(']') &&
         readPlaceAnglesAndTurn(cursor, record);
}

bool readInertial(TextCursor& cursor, Record& record) {
  std::int64_t state = 0;
  return readHead(cursor, record) && cursor.numbers(state, record.quality) && cursor.take(']') &&
         readPlaceAndTurn(cursor, record);
}

// Behind the buttons stand as many joysticks as the device has.
bool readSecondStick(TextCursor& cursor, Record& record) {
  float a = 0;
  float b = 0;
  if (!readHead(cursor, record) || !cursor.numbers(record.quality, a, b) || !cursor.take(']') ||
      !readPlaceAndTurn(cursor, record) || !cursor.take('[') || !readButtons(cursor, record))
    return false;
  for (float joystick = 0; !cursor.take(']');)
    if (!cursor.number(joystick))
      return false;
  return true;
}

// A stick that is not seen is sent with zeros.
bool isSeen(const Record& record) {
  const auto [x, y, z] = record.position;
  const auto& r = record.rotation;
  return x != 0 && y != 0 && z != 0 && (r[0] != 0 || r[1] != 0 || r[2] != 0);
}

} // namespace

bool ARTParser::parse(std::string_view datagram) {
  constexpr auto npos = std::string_view::npos;
  if (!datagram.starts_with("fr"))
    return false;
  const std::string_view text = datagram.substr(0, maxDatagram);
  if (const std::size_t at = findLine(text, "3d ", 0); at != npos)
    parseMarkers(lineAt(text, at + 3));
  // Three lines of bodies count, whichever they are.
  std::size_t at = findLine(text, "6d", 0);
  for (int i = 0; i < 3 && at != npos; ++i, at = findLine(text, "6d", at + 2)) {
    const std::string_view line = lineAt(text, at + 2);
    const std::size_t blank = line.find(' ');
    if (blank != npos)
      parseBodies(line.substr(blank), line.substr(0, blank));
  }
  return true;
}

/// Negative counts are none. False, if there is no number.
bool ARTParser::readCount(TextCursor& cursor, std::size_t& count) const {
  std::int64_t number = 0;
  if (!cursor.number(number))
    return false;
  count = std::min(static_cast<std::size_t>(std::max<std::int64_t>(number, 0)), bodies_.size());
  return true;
}

// Every marker goes to the first body, so the last one stays.
void ARTParser::parseMarkers(std::string_view line) {
  TextCursor cursor(line);
  std::size_t count = 0;
  if (!readCount(cursor, count))
    return;
  for (; count > 0; --count) {
    Record marker = bodies_[0];
    if (!readHead(cursor, marker) || !cursor.number(marker.quality) || !cursor.take(']') ||
        !readGroup(cursor, marker.position))
      return;
    marker.valid = true;
    marker.flyStick = false;
    bodies_[0] = marker;
  }
}

void ARTParser::parseBodies(std::string_view line, std::string_view suffix) {
  if (suffix.size() > 2)
    return; // "6dcal" and the like tell of no body
  const bool body = suffix.empty();
  const bool second = suffix.size() == 2;
  const auto read = body ? readBody : second ? readSecondStick : suffix == "i" ? readInertial : readStick;
  TextCursor cursor(line);
  std::size_t count = 0;
  std::int64_t more = 0;
  if (!readCount(cursor, count) || (second && !cursor.number(more)))
    return;
  std::vector<Record>& records = body ? bodies_ : sticks_;
  for (; count > 0; --count) {
    Record record;
    if (!read(cursor, record))
      return;
    record.valid = !second || isSeen(record);
    record.flyStick = !body;
    if (record.id < records.size())
      records[record.id] = record;
  }
}

} // namespace Vantiflux
