#include <vantiflux/values/BasicDecoder.h>

namespace Vantiflux {

PendingValue::~PendingValue() = default;

BasicDecoder::BasicDecoder() : stream_(&buffer_) {}

BasicDecoder::~BasicDecoder() = default;

void BasicDecoder::initialize(const std::string& label, const std::string&) {
  label_ = label;
}

void BasicDecoder::decodeAndPush(std::string_view bytes, unsigned long timeStamp) {
  buffer_.setView(bytes);
  stream_.clear();
  decodeAndPush(stream_, timeStamp);
}

std::unique_ptr<PendingValue> BasicDecoder::begin(std::string_view&, std::size_t) {
  return nullptr;
}

} // namespace Vantiflux
