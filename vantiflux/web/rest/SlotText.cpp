#include <vantiflux/web/rest/SlotText.h>

#include <locale>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include <boost/lexical_cast/bad_lexical_cast.hpp>

#include <vantiflux/core/Data.h>
#include <vantiflux/web/rest/NumberText.h>
#include <vantiflux/web/rest/PictureDecoder.h>
#include <vantiflux/web/rest/SlotTypeList.h>
#include <vantiflux/web/rest/ValueText.h>

namespace REST {

using namespace Vantiflux;

HeldValue::~HeldValue() = default;
SentValue::~SentValue() = default;

namespace {

template <class T>
void write(std::ostream& stream, const T& value) {
  using Element = typename ListElement<T>::Type;
  if constexpr (std::is_same_v<T, Matrix3<float>> || std::is_same_v<T, Matrix3<double>> ||
                std::is_same_v<T, Matrix4<float>> || std::is_same_v<T, Matrix4<double>>)
    valueMToString<T, Components<T>::count>(stream, value);
  else if constexpr (Components<T>::known)
    valueToString<T, Components<T>::count>(stream, value);
  else if constexpr (std::is_void_v<Element>)
    valueToString<T>(stream, value);
  else if constexpr (!Components<Element>::known)
    arrayToString<Element>(stream, value);
  else if constexpr (std::is_same_v<Element, Vec4<float>> || std::is_same_v<Element, Vec4<double>>)
    arrayToString<Element, 3>(stream, value); // the fourth component has always been left out of lists
  else
    arrayToString<Element, Components<Element>::count>(stream, value);
}

template <class T>
std::string bytesOf(const T* values, std::size_t count) {
  return {reinterpret_cast<const char*>(values), count * sizeof(T)};
}

template <class T>
constexpr bool isFloats = std::is_same_v<T, float> || std::is_same_v<T, Vec3<float>> || std::is_same_v<T, Color>;

template <class T>
class TypedValue final : public HeldValue {
public:
  explicit TypedValue(T value) : value_(std::move(value)) {}

  std::string text() const override {
    if constexpr (std::is_same_v<T, std::string>) {
      return value_;
    } else if constexpr (std::is_same_v<T, SmartPtr<Image>>) {
      return imageToString(value_.get()); // long, and not to be copied on its way
    } else {
      std::ostringstream stream;
      stream.imbue(std::locale::classic());
      write(stream, value_);
      return std::move(stream).str();
    }
  }

  std::string floats() const override {
    if constexpr (isFloats<T>)
      return bytesOf(&value_, 1);
    else if constexpr (isFloats<typename ListElement<T>::Type>)
      return value_ ? bytesOf(value_->data(), value_->size()) : std::string();
    else
      throw std::runtime_error("Couldn't convert type to float");
  }

  std::string ints() const override {
    if constexpr (std::is_same_v<T, long>)
      return bytesOf(&value_, 1);
    else
      throw std::runtime_error("Couldn't convert type to int");
  }

private:
  const T value_;
};

/// Of a type that has no form for clients.
class UnknownValue final : public HeldValue {
public:
  std::string text() const override { return {}; }
  std::string floats() const override { throw std::runtime_error("Couldn't convert type to float"); }
  std::string ints() const override { throw std::runtime_error("Couldn't convert type to int"); }
};

template <class T>
T getValue(OutSlot<T>& slot) {
  return slot.getValue().getValue();
}

template <class T>
T getValue(InSlot<T>& slot) {
  return slot.pop().getValue();
}

template <class T>
T read(const std::string& text) {
  if constexpr (std::is_same_v<T, std::string>)
    return text;
  else if (const std::optional<T> number = readNumber<T>(text))
    return *number;
  else
    throw boost::bad_lexical_cast(typeid(std::string), typeid(T));
}

template <>
SmartPtr<Image> read(const std::string& text) {
  SmartPtr<Image> image;
  valueFromString(text, image);
  return image;
}

/// What is to be had before a value of the type is made, and kept until it is where it was sent.
template <class T>
struct Needed {};
template <>
struct Needed<SmartPtr<Image>> {
  PicturePlace place{};
};

template <class T>
class TypedSentValue final : public SentValue {
public:
  explicit TypedSentValue(const std::string& text) : value_(read<T>(text)) {}

  void push(BasicInSlot& slot) const override {
    if (auto* const typed = dynamic_cast<InSlot<T>*>(&slot))
      typed->push(Data<T>(value_));
  }

private:
  [[no_unique_address]] const Needed<T> needed_{};
  const T value_;
};

/// Those that can be written as text.
using SentTypes = TypeList<float, double, int, bool, long, std::string, SmartPtr<Image>>;

} // namespace

template <class Base, template <class> class Slot>
std::unique_ptr<HeldValue> hold(Base* slot) {
  if (slot == nullptr)
    return nullptr;
  std::unique_ptr<HeldValue> value;
  const auto keep = [&value]<class T>(Slot<T>& typed) { value = std::make_unique<TypedValue<T>>(getValue(typed)); };
  if (!visitSlot<Slot>(TextTypes{}, *slot, keep))
    value = std::make_unique<UnknownValue>();
  return value;
}

template std::unique_ptr<HeldValue> hold<BasicOutSlot, OutSlot>(BasicOutSlot*);
template std::unique_ptr<HeldValue> hold<BasicInSlot, InSlot>(BasicInSlot*);

std::unique_ptr<SentValue> parse(const std::type_info& type, const std::string& text) {
  std::unique_ptr<SentValue> value;
  SentTypes::forEach([&]<class T>() {
    if (value == nullptr && type == typeid(T))
      value = std::make_unique<TypedSentValue<T>>(text);
  });
  return value;
}

} // namespace REST
