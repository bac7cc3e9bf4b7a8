#include "ValueText.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <sstream>
#include <typeinfo>
#include <utility>
#include <vector>

#include <vantiflux/values/SlotTypes.h>

#include "Printable.h"

namespace Host {

namespace {

using namespace Vantiflux;

// Longer lists are cut: a line is for people.
constexpr std::size_t shownElements = 32;
constexpr std::size_t shownBytes = std::size_t{1} << 16;

void write(std::ostream& stream, const std::string& value) {
  if (value.size() <= shownBytes)
    stream << printable(value);
  else
    stream << printable(std::string_view(value).substr(0, shownBytes)) << "... " << value.size() << " bytes in all";
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
std::string textOf(const T& value) {
  std::ostringstream text;
  text << std::boolalpha;
  text.precision(9);
  write(text, value);
  return text.str();
}

// Gets each value of every writer, even of those that write at the same time: it has no place to hold one.
template <class T>
class TypedSlot final : public InSlot<T> {
public:
  explicit TypedSlot(const TextSlot::Sink& sink) : sink_(sink) {}
  void push(const Data<T>& data) override {
    const Slot::Use use(*this);
    sink_(data.getTimeStamp(), textOf(data.getValue()));
  }

private:
  const TextSlot::Sink& sink_;
};

template <class... Types>
std::unique_ptr<BasicInSlot> createSlot(TypeList<Types...> /*types*/, const std::type_info& type,
                                        const TextSlot::Sink& sink) {
  std::unique_ptr<BasicInSlot> slot;
  ((type == typeid(Types) ? void(slot = std::make_unique<TypedSlot<Types>>(sink)) : void()), ...);
  return slot;
}

} // namespace

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

TextSlot::TextSlot(const BasicOutSlot& source, Sink sink)
    : sink_(std::move(sink)), slot_(createSlot(ValueTypes(), source.getTypeID(), sink_)) {
  if (slot_ != nullptr)
    return;
  slot_ = source.createMatchingInSlot();
  slot_->addListener(*this);
}

TextSlot::~TextSlot() = default;

void TextSlot::newData(BasicInSlot& slot) {
  BasicData now;
  now.setTimeStamp();
  sink_(now.getTimeStamp(), std::string("(") + slot.getTypeName() + ")");
}

} // namespace Host
