#pragma once

#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include <vantiflux/values/SlotTypes.h>

/// The value types that the interface knows. Which of them has a name for clients, a text and a binary form differs.
namespace REST {

/// Those whose elements are all of one kind of number: what they consist of.
template <class T>
struct Components {
  static constexpr bool known = false;
};
template <class Number, unsigned size>
struct ComponentsOf {
  static constexpr bool known = true;
  static constexpr unsigned count = size;
  using Type = Number;
};
template <>
struct Components<Vantiflux::Color> : ComponentsOf<float, 3> {};
template <>
struct Components<Vantiflux::ColorRGBA> : ComponentsOf<float, 4> {};
template <>
struct Components<Vantiflux::Rotation> : ComponentsOf<float, 4> {};
template <class N>
struct Components<Vantiflux::Vec2<N>> : ComponentsOf<N, 2> {};
template <class N>
struct Components<Vantiflux::Vec3<N>> : ComponentsOf<N, 3> {};
template <class N>
struct Components<Vantiflux::Vec4<N>> : ComponentsOf<N, 4> {};
template <class N>
struct Components<Vantiflux::Matrix3<N>> : ComponentsOf<N, 9> {};
template <class N>
struct Components<Vantiflux::Matrix4<N>> : ComponentsOf<N, 16> {};

/// The element type of a list in a slot; void for all other types.
template <class T>
struct ListElement {
  using Type = void;
};
template <class T>
struct ListElement<Vantiflux::SmartPtr<std::vector<T>>> {
  using Type = T;
};

/// Calls visit(Slot<T>&) with the slot as what it is, if that is among the types; says whether it was. A host may have
/// slots of `int`, which the library itself does not use.
template <template <class> class Slot, class Base, class Visit, class... Types>
bool visitSlot(Vantiflux::TypeList<Types...>, Base& slot, Visit&& visit) {
  const std::type_info& type = slot.getTypeID();
  const auto visitAs = [&]<class T>(std::type_identity<T>) {
    if (type != typeid(T))
      return false;
    auto* const typed = dynamic_cast<Slot<T>*>(&slot);
    if (typed != nullptr)
      visit(*typed);
    return typed != nullptr;
  };
  return (visitAs(std::type_identity<Types>{}) || ...);
}

template <class T>
using ListOf = Vantiflux::SmartPtr<std::vector<T>>;

/// What a slot's value can be read as text of.
using TextTypes = Vantiflux::TypeList<
    float, double, int, bool, long, std::string, Vantiflux::Time, Vantiflux::SmartPtr<Vantiflux::Image>,
    Vantiflux::Color, Vantiflux::ColorRGBA, Vantiflux::Rotation, Vantiflux::Vec2<float>, Vantiflux::Vec2<double>,
    Vantiflux::Vec3<float>, Vantiflux::Vec3<double>, Vantiflux::Vec4<float>, Vantiflux::Vec4<double>,
    Vantiflux::Matrix3<float>, Vantiflux::Matrix3<double>, Vantiflux::Matrix4<float>, Vantiflux::Matrix4<double>,
    ListOf<float>, ListOf<double>, ListOf<long>, ListOf<bool>, ListOf<std::string>, ListOf<Vantiflux::Time>,
    ListOf<Vantiflux::Color>, ListOf<Vantiflux::ColorRGBA>, ListOf<Vantiflux::Vec2<double>>,
    ListOf<Vantiflux::Vec2<float>>, ListOf<Vantiflux::Vec3<double>>, ListOf<Vantiflux::Vec3<float>>,
    ListOf<Vantiflux::Vec4<double>>, ListOf<Vantiflux::Vec4<float>>>;

} // namespace REST
