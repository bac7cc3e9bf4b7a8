#include <vantiflux/values/BasicEncoder.h>

namespace Vantiflux {

BasicEncoder::BasicEncoder() : stream_(&buffer_) {}

BasicEncoder::~BasicEncoder() = default;

void BasicEncoder::initialize(const std::string& label, const std::string&) {
  label_ = label;
}

unsigned long BasicEncoder::popAndEncode(Pelorn::Gather& target) {
  struct Target {
    Target(Pelorn::GatherBuf& b, Pelorn::Gather& t) : buffer(b) { buffer.setTarget(&t); }
    ~Target() { buffer.setTarget(nullptr); }
    Pelorn::GatherBuf& buffer;
  } const scope(buffer_, target);
  stream_.clear();
  return popAndEncode(stream_);
}

} // namespace Vantiflux
