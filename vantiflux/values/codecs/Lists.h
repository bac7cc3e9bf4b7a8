#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <new>
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
    // By way of a small block: elements that were made only to be overwritten would cost more than copying them twice.
    constexpr std::size_t most = 4096 / sizeof(E);
    alignas(E) std::byte block[most * sizeof(E)];
    list.reserve(std::min(count, in.available() / sizeof(E)));
    while (in && list.size() < count) {
      const std::size_t more = std::min(count - list.size(), most);
      const std::size_t numbers = in.readRun(reinterpret_cast<Number*>(block), more * Numbers<E>::count);
      const E* const elements = std::launder(reinterpret_cast<const E*>(block));
      list.insert(list.end(), elements, elements + numbers / Numbers<E>::count);
    }
  }

  static void readElements(Pelorn::ibinstream& in, std::size_t count, std::vector<E>& list) {
    MFTypeCodec<E> codec;
    constexpr std::size_t least = std::is_same_v<E, bool> ? sizeof(bool) : sizeof(unsigned int); // bytes on the wire
    constexpr std::size_t most = 4096; // in memory each may be many times what it is on the wire
    list.reserve(std::min({count, in.available() / least, most}));
    for (std::size_t i = 0; i < count; ++i) {
      E element = codec.decoder.decode(in.stream());
      if (!in)
        return;
      list.push_back(std::move(element));
    }
  }
};

} // namespace Vantiflux
