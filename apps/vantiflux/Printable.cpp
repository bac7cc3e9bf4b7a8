#include "Printable.h"

#include <array>
#include <cstddef>
#include <cstdio>

namespace Host {

namespace {

struct Character {
  char32_t code = 0;
  std::size_t size = 0; ///< in bytes; 0 if there is no whole character
};

// The character at the beginning, in the shortest form and nothing else.
Character firstOf(std::string_view text) {
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned first = byte(0);
  if (first < 0x80)
    return {first, 1};
  const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
  if (first < 0xc2 || first > 0xf4 || text.size() < size)
    return {};
  char32_t code = first & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0) != 0x80)
      return {};
    code = code << 6 | (byte(i) & 0x3fU);
  }
  constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xd800 && code < 0xe000;
  return code < least[size] || code > 0x10ffff || surrogate ? Character() : Character{code, size};
}

// Control characters, ends of lines and paragraphs, and what sets the direction of writing.
bool isControl(char32_t code) {
  return code < 0x20 || (code >= 0x7f && code < 0xa0) || code == 0x61c || (code >= 0x200e && code <= 0x200f) ||
         (code >= 0x2028 && code <= 0x202e) || (code >= 0x2066 && code <= 0x2069) || code == 0xfeff;
}

std::string coded(char32_t code, bool isByte) {
  if (code == '\n')
    return "\\n";
  if (code == '\t')
    return "\\t";
  std::array<char, 8> text{};
  std::snprintf(text.data(), text.size(), isByte ? "\\x%02x" : "\\u%04x", static_cast<unsigned>(code));
  return text.data();
}

} // namespace

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const Character character = firstOf(text);
    if (character.size == 0)
      result += coded(static_cast<unsigned char>(text[0]), true);
    else if (isControl(character.code))
      result += coded(character.code, character.code < 0x80);
    else
      result += text.substr(0, character.size);
    text.remove_prefix(character.size == 0 ? 1 : character.size);
  }
  return result;
}

} // namespace Host
