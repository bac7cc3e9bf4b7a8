#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <limits>
#include <memory>
#include <utility>
#include <vector>

#include <vantiflux/values/codecs/Numbers.h>
#include <vantiflux/values/codecs/Plain.h>

namespace Vantiflux {

/// The single-value encoder and decoder of an element that is not made of numbers: its form is written there only.
template <class E>
struct MFTypeCodec {
  PlainEncoder<E> encoder;
  PlainDecoder<E> decoder;
};

/// Writes a list: the number of elements (unsigned int), and one after the other. A null pointer goes as an empty list.
template <class E>
class VANTIFLUX_API MFEncoder : public Encoder<SmartPtr<std::vector<E>>> {
public:
  static BasicEncoder* create() { return new MFEncoder; }

  void encode(std::ostream& stream, const SmartPtr<std::vector<E>>& value) override {
    Pelorn::obinstream out(stream);
    if (!value) {
      out << 0U;
      return;
    }
    const std::vector<E>& list = *value;
    if (list.size() > std::numeric_limits<unsigned int>::max()) {
      stream.setstate(std::ios::failbit);
      return;
    }
    out << static_cast<unsigned int>(list.size());
    if constexpr (MadeOfNumbers<E>) {
      // The elements lie in memory as they go over the wire.
      out.block(list.data(), list.size() * sizeof(E),
                [&] { return std::make_shared<const SmartPtr<std::vector<E>>>(value); });
    } else {
      MFTypeCodec<E> codec;
      for (const auto& element : list)
        codec.encoder.encode(stream, element);
    }
  }
};

/// Reads a list into one from the pool. It ends with the last element that came whole, whatever number was announced.
template <class E>
class VANTIFLUX_API MFDecoder : public Decoder<SmartPtr<std::vector<E>>> {
public:
  static BasicDecoder* create() { return new MFDecoder; }

  SmartPtr<std::vector<E>> decode(std::istream& stream) override {
    Pelorn::ibinstream in(stream);
    unsigned int count = 0;
    in >> count;
    SmartPtr<std::vector<E>> value;
    value.acquire();
    value->clear();
    readElements(in, count, *value);
    return value;
  }

private:
  static void readElements(Pelorn::ibinstream& in, std::size_t count, std::vector<E>& list)
    requires MadeOfNumbers<E>
  {
    using Number = typename Numbers<E>::Number;
    constexpr E zero = std::bit_cast<E>(std::array<Number, Numbers<E>::count>{});
    while (in && list.size() < count) {
      const std::size_t done = list.size();
      const std::size_t there = std::max(in.available(), Pelorn::ibinstream::step) / sizeof(E);
      list.resize(done + std::min(count - done, there), zero);
      auto* const numbers = reinterpret_cast<Number*>(list.data() + done);
      const std::size_t whole = in.readRun(numbers, (list.size() - done) * Numbers<E>::count);
      list.resize(done + whole / Numbers<E>::count, zero);
    }
  }

  static void readElements(Pelorn::ibinstream& in, std::size_t count, std::vector<E>& list) {
    MFTypeCodec<E> codec;
    constexpr std::size_t least = std::is_same_v<E, bool> ? sizeof(bool) : sizeof(unsigned int); // bytes on the wire
    list.reserve(std::min(count, in.available() / least));
    for (std::size_t i = 0; i < count; ++i) {
      E element = codec.decoder.decode(in.stream());
      if (!in)
        return;
      list.push_back(std::move(element));
    }
  }
};

} // namespace Vantiflux
