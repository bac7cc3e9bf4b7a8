#include <vantiflux/values/Sample.h>

#include <cstring>
#include <limits>
#include <ostream>
#include <utility>

namespace Vantiflux {

Sample::Sample(const Sample& other) {
  *this = other;
}

Sample& Sample::operator=(const Sample& other) {
  if (this == &other)
    return *this;
  setParameters(other.frequency_, other.bits_, other.channels_, other.samples_);
  if (const std::size_t bytes = size(); bytes > 0)
    std::memcpy(data(), other.data(), bytes);
  return *this;
}

Sample& Sample::operator=(Sample&& other) noexcept {
  swap(other);
  return *this;
}

void Sample::setParameters(unsigned int frequency, unsigned char bits, unsigned char channels, unsigned long samples) {
  const std::size_t frame = bytesPerFrame(bits, channels);
  // A count from another machine must not wrap round to a small buffer.
  const std::size_t bytes = frame != 0 && samples > std::numeric_limits<std::size_t>::max() / frame
                                ? std::numeric_limits<std::size_t>::max()
                                : frame * samples;
  samples_ = 0; // what holds if there is not so much memory
  buffer_.require(bytes);
  frequency_ = frequency;
  bits_ = bits;
  channels_ = channels;
  samples_ = samples;
}

void Sample::swap(Sample& other) noexcept {
  buffer_.swap(other.buffer_);
  std::swap(frequency_, other.frequency_);
  std::swap(bits_, other.bits_);
  std::swap(channels_, other.channels_);
  std::swap(samples_, other.samples_);
}

bool operator==(const Sample& a, const Sample& b) {
  return a.frequency_ == b.frequency_ && a.bits_ == b.bits_ && a.channels_ == b.channels_ && a.samples_ == b.samples_ &&
         (a.size() == 0 || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

std::ostream& operator<<(std::ostream& stream, const Sample& sample) {
  return stream << sample.frequency() << " Hz " << static_cast<unsigned>(sample.bits()) << " bits "
                << static_cast<unsigned>(sample.channels()) << " channels " << sample.samples() << " frames";
}

} // namespace Vantiflux
