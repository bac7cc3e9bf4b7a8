#pragma once

#include <cstddef>
#include <cstring>
#include <istream>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <vantiflux/platform/pelorn/Gather.h>
#include <vantiflux/platform/pelorn/ibinstream.h>
#include <vantiflux/platform/pelorn/obinstream.h>
#include <vantiflux/values/Decoder.h>
#include <vantiflux/values/Encoder.h>

namespace Vantiflux {

/// Values with a large block of bytes of their own: parameters, and then the block, whose length follows from them.
///
/// Parameters is a struct that has, for a T:
///   Parameters(const T&)                          those of a value
///   operator<<(obinstream&, const Parameters&)    the form on the wire
///   operator>>(ibinstream&, Parameters&)          and back
///   std::size_t size() const                      of the block that they ask for; the greatest number if it has none
///   void apply(T&) const                          `T::setParameters`; the block has that size afterwards
/// and whose default is what an empty T has.
template <class T, class Parameters>
class VANTIFLUX_API BlockEncoder : public Encoder<SmartPtr<T>> {
public:
  static BasicEncoder* create() { return new BlockEncoder; }

  /// A null pointer goes as an empty value.
  void encode(std::ostream& stream, const SmartPtr<T>& value) override {
    Pelorn::obinstream out(stream);
    if (value)
      (out << Parameters(*value)).block(value->data(), value->size(), [&] {
        return std::make_shared<const SmartPtr<T>>(value);
      });
    else
      out << Parameters();
  }
};

template <class T, class Parameters>
class VANTIFLUX_API BlockDecoder : public Decoder<SmartPtr<T>> {
public:
  static BasicDecoder* create() { return new BlockDecoder; }

  SmartPtr<T> decode(std::istream& stream) override {
    Pelorn::ibinstream in(stream);
    Parameters parameters;
    in >> parameters;
    SmartPtr<T> value;
    value.acquire();
    if (!in || !readBlock(in, parameters, *value))
      Parameters().apply(*value);
    return value;
  }

  std::unique_ptr<PendingValue> begin(std::string_view& head, std::size_t size) override {
    Pelorn::ViewBuf buffer(head);
    std::istream stream(&buffer);
    Pelorn::ibinstream in(stream);
    Parameters parameters;
    in >> parameters;
    const std::size_t parsed = head.size() - buffer.rest().size();
    if (!in || size < parsed || size - parsed != parameters.size())
      return nullptr;
    SmartPtr<T> value;
    value.acquire();
    parameters.apply(*value);
    head = buffer.rest();
    return std::make_unique<Pending>(std::move(value), *this->getOutSlot());
  }

private:
  class Pending : public PendingValue {
  public:
    Pending(SmartPtr<T> value, OutSlot<SmartPtr<T>>& slot) : value_(std::move(value)), slot_(slot) {}

    std::span<std::byte> block() override { return std::as_writable_bytes(std::span(value_->data(), value_->size())); }
    void push(unsigned long timeStamp) override { slot_.push(Data<SmartPtr<T>>(value_, timeStamp)); }

  private:
    SmartPtr<T> value_;
    OutSlot<SmartPtr<T>>& slot_;
  };

  /// Straight into the value if the bytes are known to be there. Otherwise they are collected first, so that no size is
  /// believed that nothing comes for.
  static bool readBlock(Pelorn::ibinstream& in, const Parameters& parameters, T& value) {
    const std::size_t size = parameters.size();
    if (size <= in.available()) {
      parameters.apply(value);
      return in.read(value.data(), size);
    }
    std::string bytes;
    if (!in.readText(bytes, size))
      return false;
    parameters.apply(value);
    std::memcpy(value.data(), bytes.data(), size);
    return true;
  }
};

} // namespace Vantiflux
