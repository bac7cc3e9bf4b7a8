#include "Settings.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <functional>
#include <stdexcept>

namespace Camera {

namespace {

constexpr std::uint32_t largestSide = 8192;
constexpr std::size_t mostCameras = 64;
constexpr std::size_t mostItems = 32;

constexpr std::array<std::string_view, 18> requests = {"OPEN",
                                                       "POLL",
                                                       "READ",
                                                       "MMAP",
                                                       "QUERYCAP",
                                                       "G_FMT",
                                                       "S_FMT",
                                                       "S_INPUT",
                                                       "REQBUFS",
                                                       "QUERYBUF",
                                                       "QBUF",
                                                       "DQBUF",
                                                       "STREAMON",
                                                       "STREAMOFF",
                                                       "ENUMINPUT",
                                                       "ENUM_FMT",
                                                       "ENUM_FRAMESIZES",
                                                       "ENUM_FRAMEINTERVALS"};
constexpr std::array<std::string_view, 4> knownLies = {"INDEX", "LENGTH", "COUNT", "SIZE"};

[[noreturn]] void refuse(std::string_view setting, std::string_view value) {
  throw std::invalid_argument("a camera's setting \"" + std::string(setting) + "\" cannot be \"" + std::string(value) +
                              "\"");
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos)
      return parts;
    text.remove_prefix(end + 1);
  }
}

template <class Number>
bool parseNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

template <class List>
bool contains(const List& list, std::string_view item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

using Setter = std::function<void(Settings&, std::string_view name, std::string_view value)>;

Setter number(unsigned Settings::*member) {
  return [member](Settings& settings, std::string_view name, std::string_view value) {
    if (!parseNumber(value, settings.*member))
      refuse(name, value);
  };
}

Setter flag(bool Settings::*member, std::string_view yes = "yes", std::string_view no = "no") {
  return [=](Settings& settings, std::string_view name, std::string_view value) {
    if (value != yes && value != no)
      refuse(name, value);
    settings.*member = value == yes;
  };
}

Setter list(std::vector<std::string> Settings::*member, const std::function<bool(const std::string&)>& allowed) {
  return [=](Settings& settings, std::string_view name, std::string_view value) {
    settings.*member = split(value, '+');
    const auto& items = settings.*member;
    if (items.size() > mostItems || !std::all_of(items.begin(), items.end(), allowed))
      refuse(name, value);
  };
}

void setSizes(Settings& settings, std::string_view name, std::string_view value) {
  settings.sizes.clear();
  for (const std::string& item : split(value, '+')) {
    const std::size_t times = item.find('x');
    Size size;
    const bool isSize = times != std::string::npos &&
                        parseNumber(std::string_view(item).substr(0, times), size.width) &&
                        parseNumber(std::string_view(item).substr(times + 1), size.height);
    if (!isSize || size.width == 0 || size.height == 0 || size.width > largestSide || size.height > largestSide ||
        settings.sizes.size() == mostItems)
      refuse(name, value);
    settings.sizes.push_back(size);
  }
}

void setFailing(Settings& settings, std::string_view name, std::string_view value) {
  for (const std::string& item : split(value, '+')) {
    const std::size_t at = item.find('@');
    unsigned from = 1;
    if (!contains(requests, item.substr(0, at)) ||
        (at != std::string::npos && !parseNumber(std::string_view(item).substr(at + 1), from)))
      refuse(name, value);
    settings.failing[item.substr(0, at)] = from;
  }
}

void setRate(Settings& settings, std::string_view name, std::string_view value) {
  if (!parseNumber(value, settings.rate) || !(settings.rate == 0 || (settings.rate >= 1e-3 && settings.rate <= 1e6)))
    refuse(name, value);
}

const std::map<std::string_view, Setter>& setters() {
  static const auto& all = *new std::map<std::string_view, Setter>{
      {"card", [](Settings& settings, std::string_view, std::string_view value) { settings.card = value; }},
      {"size", setSizes},
      {"formats", list(&Settings::formats, [](const std::string& item) { return item.size() == 4; })},
      {"adjust", flag(&Settings::adjust)},
      {"rate", setRate},
      {"io", flag(&Settings::readOnly, "read", "mmap")},
      {"inputs", list(&Settings::inputs, [](const std::string&) { return true; })},
      {"frames", number(&Settings::frames)},
      {"silent", flag(&Settings::silent)},
      {"unplug", number(&Settings::unplug)},
      {"fail", setFailing},
      {"lie", list(&Settings::lies, [](const std::string& item) { return contains(knownLies, item); })},
      {"buffers", number(&Settings::buffers)},
      {"short", number(&Settings::shortBy)},
      {"absent", flag(&Settings::absent)},
  };
  return all;
}

} // namespace

bool Settings::liesAbout(std::string_view what) const {
  return contains(lies, what);
}

Settings parseCamera(std::string_view text) {
  Settings settings;
  if (text.empty())
    return settings;
  for (const std::string& part : split(text, ',')) {
    const std::size_t equals = part.find('=');
    const auto setter = setters().find(std::string_view(part).substr(0, equals));
    if (equals == std::string::npos || setter == setters().end())
      throw std::invalid_argument("a camera has no setting \"" + part + "\"");
    setter->second(settings, setter->first, std::string_view(part).substr(equals + 1));
  }
  return settings;
}

std::vector<Settings> parseCameras(std::string_view text) {
  std::vector<Settings> cameras;
  for (const std::string& part : split(text, ';'))
    cameras.push_back(parseCamera(part));
  if (cameras.size() > mostCameras)
    throw std::invalid_argument("there can be " + std::to_string(mostCameras) + " cameras at most");
  return cameras;
}

} // namespace Camera
