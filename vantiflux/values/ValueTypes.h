#pragma once

#include <string>
#include <vector>

#include <vantiflux/values/Color.h>
#include <vantiflux/values/ColorRGBA.h>
#include <vantiflux/values/Image.h>
#include <vantiflux/values/Matrix3.h>
#include <vantiflux/values/Matrix4.h>
#include <vantiflux/values/Rotation.h>
#include <vantiflux/values/Sample.h>
#include <vantiflux/values/Time.h>
#include <vantiflux/values/TypeName.h>
#include <vantiflux/values/Vec2.h>
#include <vantiflux/values/Vec3.h>
#include <vantiflux/values/Vec4.h>

/// The types that slots carry, listed once. Explicit instantiation cannot be written without a macro, so the list is
/// one; everything else uses the type lists below.
///
/// M is called with one type each time, as in
///   #define INSTANTIATE(T) template class InSlot<T>;
///   VANTIFLUX_FOR_EACH_VALUE_TYPE(INSTANTIATE)
#define VANTIFLUX_FOR_EACH_WRAPPED_TYPE(M, WRAP)                                                                       \
  M(WRAP(bool))                                                                                                        \
  M(WRAP(long))                                                                                                        \
  M(WRAP(float))                                                                                                       \
  M(WRAP(double))                                                                                                      \
  M(WRAP(::std::string))                                                                                               \
  M(WRAP(::Vantiflux::Time))                                                                                           \
  M(WRAP(::Vantiflux::Color))                                                                                          \
  M(WRAP(::Vantiflux::ColorRGBA))                                                                                      \
  M(WRAP(::Vantiflux::Rotation))                                                                                       \
  M(WRAP(::Vantiflux::Vec2<float>))                                                                                    \
  M(WRAP(::Vantiflux::Vec2<double>))                                                                                   \
  M(WRAP(::Vantiflux::Vec3<float>))                                                                                    \
  M(WRAP(::Vantiflux::Vec3<double>))                                                                                   \
  M(WRAP(::Vantiflux::Vec4<float>))                                                                                    \
  M(WRAP(::Vantiflux::Vec4<double>))                                                                                   \
  M(WRAP(::Vantiflux::Matrix3<float>))                                                                                 \
  M(WRAP(::Vantiflux::Matrix3<double>))                                                                                \
  M(WRAP(::Vantiflux::Matrix4<float>))                                                                                 \
  M(WRAP(::Vantiflux::Matrix4<double>))

#define VANTIFLUX_WRAP_NOTHING(...) __VA_ARGS__
#define VANTIFLUX_WRAP_VECTOR(...) ::std::vector<__VA_ARGS__>
#define VANTIFLUX_WRAP_POINTER_TO_VECTOR(...) ::Vantiflux::SmartPtr<::std::vector<__VA_ARGS__>>

/// The 19 plain types, copied by value.
#define VANTIFLUX_FOR_EACH_PLAIN_TYPE(M) VANTIFLUX_FOR_EACH_WRAPPED_TYPE(M, VANTIFLUX_WRAP_NOTHING)
/// The 21 types that a SmartPtr can hold: a vector of each plain type, Image and Sample.
#define VANTIFLUX_FOR_EACH_POOLED_TYPE(M)                                                                              \
  VANTIFLUX_FOR_EACH_WRAPPED_TYPE(M, VANTIFLUX_WRAP_VECTOR)                                                            \
  M(::Vantiflux::Image)                                                                                                \
  M(::Vantiflux::Sample)
/// All 40: the plain types and a SmartPtr to each pooled type.
#define VANTIFLUX_FOR_EACH_VALUE_TYPE(M)                                                                               \
  VANTIFLUX_FOR_EACH_PLAIN_TYPE(M)                                                                                     \
  VANTIFLUX_FOR_EACH_WRAPPED_TYPE(M, VANTIFLUX_WRAP_POINTER_TO_VECTOR)                                                 \
  M(::Vantiflux::SmartPtr<::Vantiflux::Image>)                                                                         \
  M(::Vantiflux::SmartPtr<::Vantiflux::Sample>)

namespace Vantiflux {

/// A list of types, for templates that do the same for each of them.
template <class... Types>
struct TypeList {
  static constexpr std::size_t size = sizeof...(Types);

  /// Calls visit.template operator()<T>() for each type in order.
  template <class Visitor>
  static constexpr void forEach(Visitor&& visit) {
    (visit.template operator()<Types>(), ...);
  }
};

namespace detail {
template <class List>
struct WithoutFirst;
template <class First, class... Rest>
struct WithoutFirst<TypeList<First, Rest...>> {
  using Type = TypeList<Rest...>;
};
} // namespace detail

// The leading void takes the place before the first comma.
#define VANTIFLUX_COMMA_TYPE(...) , __VA_ARGS__
using PlainTypes = detail::WithoutFirst<TypeList<void VANTIFLUX_FOR_EACH_PLAIN_TYPE(VANTIFLUX_COMMA_TYPE)>>::Type;
using PooledTypes = detail::WithoutFirst<TypeList<void VANTIFLUX_FOR_EACH_POOLED_TYPE(VANTIFLUX_COMMA_TYPE)>>::Type;
using ValueTypes = detail::WithoutFirst<TypeList<void VANTIFLUX_FOR_EACH_VALUE_TYPE(VANTIFLUX_COMMA_TYPE)>>::Type;
#undef VANTIFLUX_COMMA_TYPE

} // namespace Vantiflux
