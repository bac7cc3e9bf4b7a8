#pragma once

#include <memory>
#include <ostream>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/values/BasicEncoder.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

/// The encoder of one value type. A concrete one adds `encode` and a static `create()` that gives a new instance.
template <class T>
class VANTIFLUX_API Encoder : public BasicEncoder {
public:
  void initialize(const std::string& label, const std::string& description) override {
    BasicEncoder::initialize(label, description);
    inSlot_ = std::make_unique<InSlot<T>>(description);
  }
  InSlot<T>* getInSlot() const override { return inSlot_.get(); }

  using BasicEncoder::popAndEncode;
  unsigned long popAndEncode(std::ostream& stream) override {
    const Data<T> data = inSlot_->pop();
    encode(stream, data.getValue());
    return data.getTimeStamp();
  }

  /// Writes one value. Not for this encoder's slot only: it needs no `initialize`.
  virtual void encode(std::ostream& stream, const T& value) = 0;

private:
  std::unique_ptr<InSlot<T>> inSlot_;
};

} // namespace Vantiflux
