#pragma once

#include <array>
#include <bit>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <limits>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include <vantiflux/web/rest/ImageText.h>
#include <vantiflux/web/rest/SlotTypeList.h>

/// Values as text: numbers as short as the same number can be read back from, components separated by a blank, elements
/// of a list by a comma and a blank. Nothing is quoted or escaped. No text depends on the locale.
namespace REST {

namespace detail {

template <std::floating_point Number>
void writeNumber(std::ostream& stream, Number number) {
  std::array<char, 64> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, std::chars_format::general,
                                 std::numeric_limits<Number>::max_digits10);
  stream.write(digits.data(), end.ptr - digits.data());
}

inline void writeNumber(std::ostream& stream, long number) {
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number);
  stream.write(digits.data(), end.ptr - digits.data());
}

template <class T, unsigned N>
void writeComponents(std::ostream& stream, const T& value) {
  using Number = typename Components<T>::Type;
  static_assert(N <= Components<T>::count && sizeof(T) == Components<T>::count * sizeof(Number));
  const auto numbers = std::bit_cast<std::array<Number, Components<T>::count>>(value);
  for (unsigned i = 0; i < N; ++i) {
    if (i != 0)
      stream << ' ';
    writeNumber(stream, numbers[i]);
  }
}

template <class T, class WriteElement>
void writeList(std::ostream& stream, const ListOf<T>& list, const WriteElement& writeElement) {
  if (!list)
    return;
  bool first = true;
  for (const auto& element : *list) {
    if (!first)
      stream << ", ";
    first = false;
    writeElement(element);
  }
}

} // namespace detail

/// A value that is no group of numbers.
template <class T>
void valueToString(std::ostream& stream, const T& value) {
  if constexpr (std::same_as<T, bool>)
    stream << (value ? '1' : '0');
  else if constexpr (std::floating_point<T>)
    detail::writeNumber(stream, value);
  else if constexpr (std::integral<T>)
    detail::writeNumber(stream, static_cast<long>(value));
  else if constexpr (std::same_as<T, Vantiflux::SmartPtr<Vantiflux::Image>>)
    stream << imageToString(value.get());
  else
    stream << value;
}

/// The first N components of a vector, a colour or a rotation.
template <class T, unsigned N>
void valueToString(std::ostream& stream, const T& value) {
  detail::writeComponents<T, N>(stream, value);
}

/// A matrix of N elements, in storage order.
template <class T, unsigned N>
void valueMToString(std::ostream& stream, const T& value) {
  detail::writeComponents<T, N>(stream, value);
}

/// Nothing for a null pointer.
template <class T>
void arrayToString(std::ostream& stream, const ListOf<T>& list) {
  detail::writeList(stream, list, [&stream](const T& element) { valueToString<T>(stream, element); });
}

template <class T, unsigned N>
void arrayToString(std::ostream& stream, const ListOf<T>& list) {
  detail::writeList(stream, list, [&stream](const T& element) { valueToString<T, N>(stream, element); });
}

} // namespace REST
