#pragma once

#include <memory>
#include <string>
#include <typeinfo>

#include <vantiflux/Export.h>
#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/BasicOutSlot.h>

/// What clients read from slots and write into them. All operations are for slots that stay: see VCAttribute for how
/// that is seen to. None needs the lock of structure, and it is better not held: reading waits for a delivery that is
/// under way, writing runs the slot's listeners.
namespace REST {

/// A copy of a slot's value, to be turned into text or bytes when no lock is held any more.
class VANTIFLUX_API HeldValue {
public:
  virtual ~HeldValue();
  /// Empty for a type that has no text.
  virtual std::string text() const = 0;
  /// In host order. Throw std::runtime_error for a type that has no such form.
  virtual std::string floats() const = 0;
  virtual std::string ints() const = 0;
};

/// Null for a null slot. An out-slot keeps its value; from an in-slot it is taken, and waited for.
template <class Base, template <class> class Slot>
VANTIFLUX_API std::unique_ptr<HeldValue> hold(Base* slot);

/// A value that a client sent, not in a slot yet.
class VANTIFLUX_API SentValue {
public:
  virtual ~SentValue();
  /// Pushes it, with the present time as its time stamp, if the slot is of its type.
  virtual void push(Vantiflux::BasicInSlot& slot) const = 0;
};

/// The value of that type that a text stands for; null for a type that cannot be written as text. Throws
/// boost::bad_lexical_cast for a text that is no such value, std::runtime_error for one that is no image.
///
/// An image holds one of the places for pictures as long as the SentValue lives (see PicturePlace): let go of it soon.
VANTIFLUX_API std::unique_ptr<SentValue> parse(const std::type_info& type, const std::string& text);

/// Instantiated for BasicOutSlot with OutSlot and for BasicInSlot with InSlot.
template <class Base, template <class> class Slot>
std::string toString(Base* slot) {
  const auto value = hold<Base, Slot>(slot);
  return value == nullptr ? std::string() : value->text();
}

/// A float, a Vec3 of them, a Color, or a list of one of these.
template <class Base, template <class> class Slot>
std::string toFloat(Base* slot) {
  const auto value = hold<Base, Slot>(slot);
  return value == nullptr ? std::string() : value->floats();
}

/// A long.
template <class Base, template <class> class Slot>
std::string toInt(Base* slot) {
  const auto value = hold<Base, Slot>(slot);
  return value == nullptr ? std::string() : value->ints();
}

/// Does nothing for a null slot and for a type that cannot be written as text. Throws as `parse`, and what a listener
/// of the slot throws.
template <class Base, template <class> class Slot>
void fromString(Base* slot, const std::string& text) {
  const auto value = slot == nullptr ? nullptr : parse(slot->getTypeID(), text);
  if (value != nullptr)
    value->push(*slot);
}

} // namespace REST
