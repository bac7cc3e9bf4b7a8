#pragma once

#include <istream>
#include <memory>
#include <string>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/values/BasicDecoder.h>
#include <vantiflux/values/SlotTypes.h>

namespace Vantiflux {

/// The decoder of one value type. A concrete one adds `decode` and a static `create()` that gives a new instance.
template <class T>
class VANTIFLUX_API Decoder : public BasicDecoder {
public:
  void initialize(const std::string& label, const std::string& description) override {
    BasicDecoder::initialize(label, description);
    outSlot_ = std::make_unique<OutSlot<T>>(description);
  }
  OutSlot<T>* getOutSlot() const override { return outSlot_.get(); }

  using BasicDecoder::decodeAndPush;
  void decodeAndPush(std::istream& stream, unsigned long timeStamp) override {
    outSlot_->push(Data<T>(decode(stream), timeStamp));
  }

  /// Reads one value. Not for this decoder's slot only: it needs no `initialize`.
  virtual T decode(std::istream& stream) = 0;

private:
  std::unique_ptr<OutSlot<T>> outSlot_;
};

} // namespace Vantiflux
