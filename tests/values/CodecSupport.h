#pragma once

#include <cstddef>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include <vantiflux/values/BasicCodec.h>
#include <vantiflux/values/SlotTypes.h>

namespace test {

/// Bytes from hexadecimal digits, which may be parted by blanks.
inline std::string bytes(std::string_view hex) {
  std::string result;
  std::string digits;
  for (const char c : hex) {
    if (c == ' ')
      continue;
    digits += c;
    if (digits.size() == 2) {
      result += static_cast<char>(std::stoi(digits, nullptr, 16));
      digits.clear();
    }
  }
  return result;
}

inline std::string hex(std::string_view bytes) {
  std::string result;
  for (const char c : bytes) {
    constexpr auto digits = "0123456789abcdef";
    result += digits[static_cast<unsigned char>(c) >> 4];
    result += digits[static_cast<unsigned char>(c) & 15];
  }
  return result;
}

template <class T>
Vantiflux::SmartPtr<T> pooled(T value) {
  Vantiflux::SmartPtr<T> pointer;
  pointer.acquire();
  *pointer = std::move(value);
  return pointer;
}

inline Vantiflux::SmartPtr<Vantiflux::Image> image(unsigned width, unsigned height, Vantiflux::Image::Format format) {
  Vantiflux::SmartPtr<Vantiflux::Image> pointer;
  pointer.acquire();
  pointer->setParameters(width, height, format);
  for (std::size_t i = 0; i < pointer->size(); ++i)
    pointer->data()[i] = static_cast<unsigned char>(i * 7 + 1);
  return pointer;
}

inline Vantiflux::SmartPtr<Vantiflux::Sample> sample(unsigned frequency, unsigned char bits, unsigned char channels,
                                                     unsigned long frames) {
  Vantiflux::SmartPtr<Vantiflux::Sample> pointer;
  pointer.acquire();
  pointer->setParameters(frequency, bits, channels, frames);
  for (std::size_t i = 0; i < pointer->size(); ++i)
    pointer->data()[i] = static_cast<unsigned char>(i + 1);
  return pointer;
}

template <class T>
bool same(const T& a, const T& b) {
  return a == b;
}
template <class T>
bool same(const Vantiflux::SmartPtr<T>& a, const Vantiflux::SmartPtr<T>& b) {
  return a && b && *a == *b;
}

/// An encoder and a decoder of one codec, each with its slot.
template <class T>
struct Ends {
  explicit Ends(const std::string& name) {
    Vantiflux::BasicCodec* const codec = Vantiflux::BasicCodec::findCodec(name);
    encoder = codec->createEncoder();
    decoder = codec->createDecoder();
    encoder->initialize("Label", "Sends");
    decoder->initialize("Label", "Receives");
    in = dynamic_cast<Vantiflux::InSlot<T>*>(encoder->getInSlot());
    out = dynamic_cast<Vantiflux::OutSlot<T>*>(decoder->getOutSlot());
  }

  Pelorn::Gather encode(const T& value) const {
    in->push(Vantiflux::Data<T>(value, 1234));
    Pelorn::Gather gather;
    EXPECT_EQ(encoder->popAndEncode(gather), 1234U);
    return gather;
  }
  T decode(std::string_view bytes) const {
    decoder->decodeAndPush(bytes, 4321);
    EXPECT_EQ(out->getValue().getTimeStamp(), 4321U);
    return out->getValue().getValue();
  }

  std::unique_ptr<Vantiflux::BasicEncoder> encoder;
  std::unique_ptr<Vantiflux::BasicDecoder> decoder;
  Vantiflux::InSlot<T>* in;
  Vantiflux::OutSlot<T>* out;
};

} // namespace test
