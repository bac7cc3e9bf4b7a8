#include <vantiflux/platform/pelorn/HTTPText.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

#include <boost/archive/iterators/base64_from_binary.hpp>
#include <boost/archive/iterators/transform_width.hpp>

#include <vantiflux/platform/xmlwrap/XMLText.h>

namespace Pelorn::HTTPText {

namespace {

char lowerLetter(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isUnreserved(char c) {
  const char letter = lowerLetter(c);
  return (letter >= 'a' && letter <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '_' || c == '~';
}

} // namespace

bool equal(std::string_view a, std::string_view b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return lowerLetter(x) == lowerLetter(y); });
}

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lowerLetter);
  return result;
}

std::string_view trim(std::string_view text) noexcept {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos)
    return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::string encode(std::string_view text) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    if (isUnreserved(c)) {
      result += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    result += '%';
    result += digits[byte >> 4];
    result += digits[byte & 15];
  }
  return result;
}

bool decode(std::string_view text, bool plusIsBlank, std::string& decoded) {
  decoded.clear();
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      decoded += plusIsBlank && text[i] == '+' ? ' ' : text[i];
      continue;
    }
    unsigned code = 0;
    const std::string_view digits = text.substr(i + 1, 2);
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (error != std::errc() || end != digits.data() + 2 || code == 0)
      return false;
    decoded += static_cast<char>(code);
    i += 2;
  }
  return true;
}

// Not with strftime, whose names of days and months depend on the locale.
std::string date(std::time_t time) {
  constexpr std::array days{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  constexpr std::array months{"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  std::tm utc{};
  ::gmtime_r(&time, &utc);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                days[static_cast<std::size_t>(utc.tm_wday)], utc.tm_mday, months[static_cast<std::size_t>(utc.tm_mon)],
                utc.tm_year + 1900, utc.tm_hour, utc.tm_min, utc.tm_sec);
  return text.data();
}

std::string base64(std::string_view bytes) {
  using namespace boost::archive::iterators;
  using Digits = base64_from_binary<transform_width<std::string_view::const_iterator, 6, 8>>;
  std::string result(Digits(bytes.begin()), Digits(bytes.end()));
  result.append((4 - result.size() % 4) % 4, '=');
  return result;
}

// What XML needs will do for HTML.
std::string escape(std::string_view text) {
  return XMLWrap::escapeAttribute(text);
}

} // namespace Pelorn::HTTPText
