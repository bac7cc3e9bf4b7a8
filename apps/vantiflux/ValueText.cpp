#include "ValueText.h"

#include <array>
#include <cctype>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <typeinfo>
#include <vector>

#include <vantiflux/values/SlotTypes.h>

namespace Host {

namespace {

using namespace Vantiflux;

// Longer lists are cut: a line is for people.
constexpr std::size_t shownElements = 32;

void write(std::ostream& stream, const std::string& value) {
  stream << printable(value);
}

template <class T>
void write(std::ostream& stream, const T& value) {
  stream << value;
}

template <class E>
void write(std::ostream& stream, const std::vector<E>& list) {
  stream << '[';
  for (std::size_t i = 0; i < list.size() && i < shownElements; ++i) {
    stream << (i > 0 ? ", " : "");
    write(stream, static_cast<const E&>(list[i]));
  }
  if (list.size() > shownElements)
    stream << ", ... " << list.size() << " in all";
  stream << ']';
}

template <class T>
void write(std::ostream& stream, const SmartPtr<T>& pointer) {
  if (pointer)
    write(stream, *pointer);
  else
    stream << "none";
}

template <class T>
bool takeFrom(BasicInSlot& slot, TakenValue& taken) {
  auto* const typed = dynamic_cast<InSlot<T>*>(&slot);
  if (typed == nullptr)
    return false;
  const Data<T> data = typed->pop();
  std::ostringstream text;
  text << std::boolalpha;
  text.precision(9);
  write(text, data.getValue());
  taken = {data.getTimeStamp(), text.str()};
  return true;
}

template <class... Types>
bool isAny(TypeList<Types...> /*types*/, const std::type_info& type) {
  return ((type == typeid(Types)) || ...);
}

template <class... Types>
bool takeFromAny(TypeList<Types...> /*types*/, BasicInSlot& slot, TakenValue& taken) {
  return (takeFrom<Types>(slot, taken) || ...);
}

} // namespace

std::string printable(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7f) {
      result += c;
    } else if (c == '\n') {
      result += "\\n";
    } else if (c == '\t') {
      result += "\\t";
    } else {
      std::array<char, 5> code{};
      std::snprintf(code.data(), code.size(), "\\x%02x", byte);
      result += code.data();
    }
  }
  return result;
}

std::string timeText(BasicData::TimeStamp timeStamp) {
  const auto seconds = static_cast<std::time_t>(timeStamp / 1000);
  std::tm local{};
  std::array<char, 64> text{};
  // Stamps come from other machines too, and not every number has a place in the calendar.
  if (localtime_r(&seconds, &local) == nullptr || std::strftime(text.data(), text.size(), "%F %T", &local) == 0)
    return std::to_string(timeStamp);
  std::array<char, 8> fraction{};
  std::snprintf(fraction.data(), fraction.size(), ".%03u", static_cast<unsigned>(timeStamp % 1000));
  return std::string(text.data()) + fraction.data();
}

bool isPrintable(const BasicInSlot& slot) {
  return isAny(ValueTypes(), slot.getTypeID());
}

std::optional<TakenValue> takeAsText(BasicInSlot& slot) {
  TakenValue taken;
  if (slot.empty() || !takeFromAny(ValueTypes(), slot, taken))
    return std::nullopt;
  return taken;
}

} // namespace Host
