#include <vantiflux/platform/xmlwrap/XMLText.h>

#include <cstddef>

namespace XMLWrap {

namespace {

/// Length of the character at the start of `text`, 0 when it is not well-formed UTF-8 or not an XML character.
std::size_t characterLength(std::string_view text) noexcept {
  const auto first = static_cast<unsigned char>(text[0]);
  if (first < 0x80)
    return first >= 0x20 || first == '\t' || first == '\n' || first == '\r' ? 1 : 0;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length)
    return 0;
  unsigned long code = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if ((byte & 0xC0) != 0x80)
      return 0;
    code = code << 6 | (byte & 0x3FU);
  }
  constexpr unsigned long least[] = {0, 0, 0x80, 0x800, 0x10000};
  if (code < least[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000) || code == 0xFFFE || code == 0xFFFF)
    return 0;
  return length;
}

bool startsName(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}

bool continuesName(char c) noexcept {
  return startsName(c) || (c >= '0' && c <= '9') || c == '-' || c == '.';
}

} // namespace

bool isXMLText(std::string_view text) noexcept {
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0)
      return false;
    text.remove_prefix(length);
  }
  return true;
}

bool isXMLName(std::string_view name) noexcept {
  bool atStart = true;
  bool prefixed = false;
  for (const char c : name) {
    if (c == ':') {
      if (atStart || prefixed)
        return false;
      atStart = prefixed = true;
    } else if (!(atStart ? startsName(c) : continuesName(c))) {
      return false;
    } else {
      atStart = false;
    }
  }
  return !atStart && isXMLText(name);
}

std::string escapeText(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (const char c : text) {
    switch (c) {
    case '&':
      result += "&amp;";
      break;
    case '<':
      result += "&lt;";
      break;
    case '>':
      result += "&gt;";
      break;
    case '\r': // a reader would make a line feed of it
      result += "&#13;";
      break;
    default:
      result += c;
    }
  }
  return result;
}

std::string escapeAttribute(std::string_view text) {
  std::string result;
  const std::string escaped = escapeText(text);
  result.reserve(escaped.size());
  for (const char c : escaped) {
    switch (c) {
    case '"':
      result += "&quot;";
      break;
    case '\n': // a reader would make blanks of these
      result += "&#10;";
      break;
    case '\t':
      result += "&#9;";
      break;
    default:
      result += c;
    }
  }
  return result;
}

} // namespace XMLWrap
