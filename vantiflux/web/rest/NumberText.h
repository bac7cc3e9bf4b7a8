#pragma once

#include <charconv>
#include <concepts>
#include <locale>
#include <optional>
#include <sstream>
#include <string>
#include <system_error>

/// Numbers that clients send: the whole text is one, with a sign or without, and no locale of the host plays a part.
namespace REST {

namespace detail {

/// As the streams of the library take it: too small a number is 0, or nearly so, one that is too large is none.
template <std::floating_point Number>
std::optional<Number> readOutOfRange(const std::string& text) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  Number number{};
  return stream >> number ? std::optional(number) : std::nullopt;
}

} // namespace detail

/// Empty for a text that is no number, or that the type cannot hold. "0" and "1" alone are of the type bool.
template <class Number>
  requires std::integral<Number> || std::floating_point<Number>
std::optional<Number> readNumber(const std::string& text) {
  if constexpr (std::same_as<Number, bool>) {
    return text == "0" || text == "1" ? std::optional(text == "1") : std::nullopt;
  } else {
    const char* const end = text.data() + text.size();
    const bool hasPlus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    Number number{};
    const auto [next, error] = std::from_chars(text.data() + (hasPlus ? 1 : 0), end, number);
    if (next != end || error == std::errc::invalid_argument)
      return std::nullopt;
    if (error == std::errc())
      return number;
    if constexpr (std::floating_point<Number>)
      return detail::readOutOfRange<Number>(text);
    return std::nullopt;
  }
}

} // namespace REST
