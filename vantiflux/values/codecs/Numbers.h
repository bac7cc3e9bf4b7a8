#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <span>
#include <type_traits>

#include <vantiflux/platform/pelorn/ibinstream.h>
#include <vantiflux/platform/pelorn/obinstream.h>
#include <vantiflux/values/Decoder.h>
#include <vantiflux/values/Encoder.h>

namespace Vantiflux {

/// The value types that consist of some numbers of one kind and of nothing else. On the wire the numbers follow each
/// other in the order in which they lie in memory.
template <class T>
struct Numbers;

/// The kind of number, and how many there are.
template <class N, std::size_t Count>
struct NumbersOf {
  using Number = N;
  static constexpr std::size_t count = Count;
};

template <>
struct Numbers<long> : NumbersOf<long, 1> {};
template <>
struct Numbers<float> : NumbersOf<float, 1> {};
template <>
struct Numbers<double> : NumbersOf<double, 1> {};
template <>
struct Numbers<Time> : NumbersOf<double, 1> {};
template <>
struct Numbers<Color> : NumbersOf<float, 3> {};
template <>
struct Numbers<ColorRGBA> : NumbersOf<float, 4> {};
template <>
struct Numbers<Rotation> : NumbersOf<float, 4> {};
template <class E>
struct Numbers<Vec2<E>> : NumbersOf<E, 2> {};
template <class E>
struct Numbers<Vec3<E>> : NumbersOf<E, 3> {};
template <class E>
struct Numbers<Vec4<E>> : NumbersOf<E, 4> {};
template <class E>
struct Numbers<Matrix3<E>> : NumbersOf<E, 9> {};
template <class E>
struct Numbers<Matrix4<E>> : NumbersOf<E, 16> {};

/// Such a type: a run of its values is one run of numbers.
template <class T>
concept MadeOfNumbers =
    std::is_trivially_copyable_v<T> && sizeof(T) == sizeof(typename Numbers<T>::Number) * Numbers<T>::count;

template <MadeOfNumbers T>
class VANTIFLUX_API NumbersEncoder : public Encoder<T> {
public:
  static BasicEncoder* create() { return new NumbersEncoder; }

  void encode(std::ostream& stream, const T& value) override {
    const auto run = std::bit_cast<std::array<typename Numbers<T>::Number, Numbers<T>::count>>(value);
    Pelorn::obinstream(stream) << std::span(run);
  }
};

template <MadeOfNumbers T>
class VANTIFLUX_API NumbersDecoder : public Decoder<T> {
public:
  static BasicDecoder* create() { return new NumbersDecoder; }

  T decode(std::istream& stream) override {
    std::array<typename Numbers<T>::Number, Numbers<T>::count> run;
    const std::size_t whole = Pelorn::ibinstream(stream).readRun(run.data(), run.size());
    if (whole == run.size())
      return std::bit_cast<T>(run);
    T value{};
    std::memcpy(static_cast<void*>(&value), run.data(), whole * sizeof run[0]);
    return value;
  }
};

using SFColorEncoder = NumbersEncoder<Color>;
using SFColorDecoder = NumbersDecoder<Color>;
using SFColorRGBAEncoder = NumbersEncoder<ColorRGBA>;
using SFColorRGBADecoder = NumbersDecoder<ColorRGBA>;
using SFDoubleEncoder = NumbersEncoder<double>;
using SFDoubleDecoder = NumbersDecoder<double>;
using SFFloatEncoder = NumbersEncoder<float>;
using SFFloatDecoder = NumbersDecoder<float>;
using SFInt32Encoder = NumbersEncoder<long>; ///< 64 bits, in spite of the name
using SFInt32Decoder = NumbersDecoder<long>;
using SFRotationEncoder = NumbersEncoder<Rotation>;
using SFRotationDecoder = NumbersDecoder<Rotation>;
using SFTimeEncoder = NumbersEncoder<Time>;
using SFTimeDecoder = NumbersDecoder<Time>;
template <class E>
using SFMatrix3Encoder = NumbersEncoder<Matrix3<E>>;
template <class E>
using SFMatrix3Decoder = NumbersDecoder<Matrix3<E>>;
template <class E>
using SFMatrix4Encoder = NumbersEncoder<Matrix4<E>>;
template <class E>
using SFMatrix4Decoder = NumbersDecoder<Matrix4<E>>;
template <class E>
using SFVec2Encoder = NumbersEncoder<Vec2<E>>;
template <class E>
using SFVec2Decoder = NumbersDecoder<Vec2<E>>;
template <class E>
using SFVec3Encoder = NumbersEncoder<Vec3<E>>;
template <class E>
using SFVec3Decoder = NumbersDecoder<Vec3<E>>;
template <class E>
using SFVec4Encoder = NumbersEncoder<Vec4<E>>;
template <class E>
using SFVec4Decoder = NumbersDecoder<Vec4<E>>;

} // namespace Vantiflux
