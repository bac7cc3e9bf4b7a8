#include <vantiflux/values/BasicEncoder.h>

#include <ostream>

namespace Vantiflux {

struct BasicEncoder::Stream {
  Pelorn::GatherBuf buffer;
  std::ostream stream{&buffer};
};

BasicEncoder::BasicEncoder() = default;

BasicEncoder::~BasicEncoder() = default;

void BasicEncoder::initialize(const std::string& label, const std::string&) {
  label_ = label;
}

unsigned long BasicEncoder::popAndEncode(Pelorn::Gather& target) {
  if (stream_ == nullptr)
    stream_ = std::make_unique<Stream>();
  stream_->buffer.setTarget(&target);
  stream_->stream.clear();
  return popAndEncode(stream_->stream);
}

} // namespace Vantiflux
