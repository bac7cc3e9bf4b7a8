#include <vantiflux/values/codecs/SFSample.h>

#include <bit>
#include <limits>

namespace Vantiflux {

namespace {

constexpr unsigned char ownByteOrder = std::endian::native == std::endian::little ? 1 : 0;

} // namespace

SampleParameters::SampleParameters(const Sample& sample)
    : frequency(sample.frequency()), bits(sample.bits()), channels(sample.channels()), samples(sample.samples()) {}

std::size_t SampleParameters::size() const {
  const std::size_t frame = static_cast<std::size_t>((bits + 7) / 8) * channels;
  constexpr std::size_t most = std::numeric_limits<std::size_t>::max();
  return frame != 0 && samples > most / frame ? most : frame * samples;
}

void SampleParameters::apply(Sample& sample) const {
  sample.setParameters(static_cast<unsigned int>(frequency), bits, channels, samples);
}

Pelorn::obinstream& operator<<(Pelorn::obinstream& out, const SampleParameters& parameters) {
  return out << parameters.frequency << parameters.bits << parameters.channels << parameters.samples << ownByteOrder;
}

Pelorn::ibinstream& operator>>(Pelorn::ibinstream& in, SampleParameters& parameters) {
  unsigned char byteOrder = 0;
  return in >> parameters.frequency >> parameters.bits >> parameters.channels >> parameters.samples >> byteOrder;
}

} // namespace Vantiflux
