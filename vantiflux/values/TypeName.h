#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include <vantiflux/values/Forward.h>

namespace Vantiflux {

/// The printable name of a value type, as slots and codecs give it.
///
/// Names of SmartPtr types are stored HTML-escaped, "&lt;" and "&gt;" being part of the string: they are compared,
/// exchanged and shown in pages as they stand, and nothing escapes or unescapes them.
///
/// There is no general definition: a type without a specialisation is not a value type, and a slot of it does not
/// compile. A host that makes slots of a type of its own specialises TypeName for it.
template <class T>
struct TypeName;

namespace detail {

/// Text that can be a template argument and be joined at compile time; Size counts the final zero.
template <std::size_t Size>
struct FixedText {
  std::array<char, Size> text{};

  consteval FixedText() = default;
  consteval FixedText(const char (&literal)[Size]) { std::copy_n(literal, Size, text.begin()); }

  template <std::size_t Other>
  consteval auto operator+(const FixedText<Other>& other) const {
    FixedText<Size + Other - 1> joined;
    std::copy_n(text.begin(), Size - 1, joined.text.begin());
    std::copy_n(other.text.begin(), Other, joined.text.begin() + (Size - 1));
    return joined;
  }
};

template <FixedText Name>
struct ConstantName {
  static constexpr const char* getName() noexcept { return Name.text.data(); }
};

template <FixedText Inner>
using PointerName = ConstantName<FixedText("Vantiflux::SmartPtr&lt;Vantiflux::") + Inner + FixedText("&gt;")>;

template <FixedText Single, FixedText List>
struct ElementNames {
  static constexpr auto single = Single;
  static constexpr auto list = List;
};

/// Each element type once, with the name of one value and the name of a list of them.
template <class T>
struct NamesOf;
template <>
struct NamesOf<bool> : ElementNames<"bool", "MFBool"> {};
template <>
struct NamesOf<long> : ElementNames<"long", "MFInt32"> {};
template <>
struct NamesOf<float> : ElementNames<"float", "MFFloat"> {};
template <>
struct NamesOf<double> : ElementNames<"double", "MFDouble"> {};
template <>
struct NamesOf<std::string> : ElementNames<"std::string", "MFString"> {};
template <>
struct NamesOf<Time> : ElementNames<"Vantiflux::Time", "MFTime"> {};
template <>
struct NamesOf<Color> : ElementNames<"Vantiflux::Color", "MFColor"> {};
template <>
struct NamesOf<ColorRGBA> : ElementNames<"Vantiflux::ColorRGBA", "MFColorRGBA"> {};
template <>
struct NamesOf<Rotation> : ElementNames<"Vantiflux::Rotation", "MFRotation"> {};
template <>
struct NamesOf<Vec2<float>> : ElementNames<"Vantiflux::Vec2f", "MFVec2f"> {};
template <>
struct NamesOf<Vec2<double>> : ElementNames<"Vantiflux::Vec2d", "MFVec2d"> {};
template <>
struct NamesOf<Vec3<float>> : ElementNames<"Vantiflux::Vec3f", "MFVec3f"> {};
template <>
struct NamesOf<Vec3<double>> : ElementNames<"Vantiflux::Vec3d", "MFVec3d"> {};
template <>
struct NamesOf<Vec4<float>> : ElementNames<"Vantiflux::Vec4f", "MFVec4f"> {};
template <>
struct NamesOf<Vec4<double>> : ElementNames<"Vantiflux::Vec4d", "MFVec4d"> {};
template <>
struct NamesOf<Matrix3<float>> : ElementNames<"Vantiflux::Matrix3f", "MFMatrix3f"> {};
template <>
struct NamesOf<Matrix3<double>> : ElementNames<"Vantiflux::Matrix3d", "MFMatrix3d"> {};
template <>
struct NamesOf<Matrix4<float>> : ElementNames<"Vantiflux::Matrix4f", "MFMatrix4f"> {};
template <>
struct NamesOf<Matrix4<double>> : ElementNames<"Vantiflux::Matrix4d", "MFMatrix4d"> {};

template <class T>
concept Element = requires { NamesOf<T>::single; };

} // namespace detail

template <detail::Element E>
struct TypeName<E> : detail::ConstantName<detail::NamesOf<E>::single> {};
template <detail::Element E>
struct TypeName<std::vector<E>> : detail::ConstantName<detail::NamesOf<E>::list> {};
template <detail::Element E>
struct TypeName<SmartPtr<std::vector<E>>> : detail::PointerName<detail::NamesOf<E>::list> {};

template <>
struct TypeName<SmartPtr<Image>> : detail::PointerName<"Image"> {};
template <>
struct TypeName<SmartPtr<Sample>> : detail::PointerName<"Sample"> {};
/// A list of images has a name but no codec: it stays inside the process.
template <>
struct TypeName<SmartPtr<std::vector<Image>>> : detail::PointerName<"MFImage"> {};

} // namespace Vantiflux
