#include <vantiflux/devices/FastrakRecord.h>

#include <array>

#include <vantiflux/devices/TextCursor.h>

namespace Vantiflux {

namespace {

bool parseData(std::string_view line, std::size_t place, float& value) noexcept {
  TextCursor field(line.substr(place, 7));
  return field.number(value) && field.atEnd();
}

} // namespace

bool FastrakRecord::parse(std::string_view line, FastrakRecord& record) noexcept {
  if (line.size() != length || line[0] != '0' || line[1] < '1' || line[1] > '4')
    return false;
  std::array<float, 7> values{};
  for (std::size_t i = 0; i < values.size(); ++i)
    if (!parseData(line, 3 + 7 * i, values[i]))
      return false;
  const auto [x, y, z, q0, q1, q2, q3] = values;
  record.sensor = static_cast<std::size_t>(line[1] - '1');
  record.position = Vec3<float>(0.01F * y, -0.01F * z, -0.01F * x);
  record.rotation = Rotation(q2, -q3, -q1, q0);
  record.pressed = line[53] == '1';
  return true;
}

bool FastrakRecord::isReply(std::string_view line, char kind) noexcept {
  return line.size() >= 3 && line[0] == '2' && line[2] == kind;
}

} // namespace Vantiflux
