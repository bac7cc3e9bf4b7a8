#pragma once

#include <string>

#include <vantiflux/platform/pelorn/ibinstream.h>
#include <vantiflux/platform/pelorn/obinstream.h>
#include <vantiflux/values/Decoder.h>
#include <vantiflux/values/Encoder.h>

namespace Vantiflux {

/// A value that the binary streams carry as it is.
template <class T>
class VANTIFLUX_API PlainEncoder : public Encoder<T> {
public:
  static BasicEncoder* create() { return new PlainEncoder; }

  void encode(std::ostream& stream, const T& value) override { Pelorn::obinstream(stream) << value; }
};

template <class T>
class VANTIFLUX_API PlainDecoder : public Decoder<T> {
public:
  static BasicDecoder* create() { return new PlainDecoder; }

  T decode(std::istream& stream) override {
    T value{};
    Pelorn::ibinstream(stream) >> value;
    return value;
  }
};

using SFBoolEncoder = PlainEncoder<bool>;
using SFBoolDecoder = PlainDecoder<bool>;
using SFStringEncoder = PlainEncoder<std::string>;
using SFStringDecoder = PlainDecoder<std::string>;

} // namespace Vantiflux
