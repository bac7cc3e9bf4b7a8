#pragma once

#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <type_traits>

namespace Vantiflux {

/// Reads numbers and signs from a text, one after the other. Numbers have the form of the C locale, whatever the
/// process has set. Blanks, tabs and carriage returns before what is read are passed over.
///
/// *Failure.* What cannot be read gives false. Nothing is said about where the cursor stands then.
class TextCursor {
public:
  explicit TextCursor(std::string_view text) noexcept : at_(text.data()), end_(text.data() + text.size()) {}

  /// Takes this sign, if it comes next.
  bool take(char sign) noexcept {
    skipBlanks();
    return takeAtOnce(sign);
  }

  /// The same, but nothing may stand before it.
  bool takeAtOnce(char sign) noexcept {
    if (at_ == end_ || *at_ != sign)
      return false;
    ++at_;
    return true;
  }

  /// A number that fits the type. Of the numbers with a fraction only the finite ones count.
  template <class T>
  bool number(T& value) noexcept {
    skipBlanks();
    if (at_ != end_ && *at_ == '+' && end_ - at_ > 1 && at_[1] != '-')
      ++at_;
    const auto [next, error] = std::from_chars(at_, end_, value);
    if (error != std::errc())
      return false;
    at_ = next;
    if constexpr (std::is_floating_point_v<T>)
      return std::isfinite(value);
    else
      return true;
  }

  template <class T, class... More>
  bool numbers(T& first, More&... more) noexcept {
    return number(first) && (... && number(more));
  }

  /// Passes over all white space, line feeds too.
  TextCursor& skipSpace() noexcept {
    while (at_ != end_ && (*at_ == ' ' || (*at_ >= '\t' && *at_ <= '\r')))
      ++at_;
    return *this;
  }

  bool atEnd() noexcept {
    skipBlanks();
    return at_ == end_;
  }

private:
  void skipBlanks() noexcept {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\t' || *at_ == '\r'))
      ++at_;
  }

  const char* at_;
  const char* end_;
};

} // namespace Vantiflux
