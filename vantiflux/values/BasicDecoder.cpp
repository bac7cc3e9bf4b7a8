#include <vantiflux/values/BasicDecoder.h>

#include <istream>

#include <vantiflux/platform/pelorn/Gather.h>

namespace Vantiflux {

PendingValue::~PendingValue() = default;

struct BasicDecoder::Stream {
  Pelorn::ViewBuf buffer;
  std::istream stream{&buffer};
};

BasicDecoder::BasicDecoder() = default;

BasicDecoder::~BasicDecoder() = default;

void BasicDecoder::initialize(const std::string& label, const std::string&) {
  label_ = label;
}

void BasicDecoder::decodeAndPush(std::string_view bytes, unsigned long timeStamp) {
  if (stream_ == nullptr)
    stream_ = std::make_unique<Stream>();
  stream_->buffer.setView(bytes);
  stream_->stream.clear();
  decodeAndPush(stream_->stream, timeStamp);
}

std::unique_ptr<PendingValue> BasicDecoder::begin(std::string_view&, std::size_t) {
  return nullptr;
}

} // namespace Vantiflux
