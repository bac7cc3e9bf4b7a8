#pragma once

#include <cstddef>

#include <vantiflux/values/Sample.h>
#include <vantiflux/values/codecs/Blocks.h>

namespace Vantiflux {

/// What stands before the sound of a sample: frequency (unsigned long), bits and channels (unsigned char), number of
/// frames (unsigned long) and the byte order of the sender (unsigned char), 1 for little-endian.
///
/// The byte order is sent and not looked at: sound from a sender of the other one arrives with its bytes unswapped.
struct VANTIFLUX_API SampleParameters {
  unsigned long frequency = 0;
  unsigned char bits = 0;
  unsigned char channels = 0;
  unsigned long samples = 0;

  SampleParameters() = default;
  explicit SampleParameters(const Sample& sample);

  /// Bytes of the sound; the greatest number if no memory could hold it.
  std::size_t size() const;
  void apply(Sample& sample) const;
};

VANTIFLUX_API Pelorn::obinstream& operator<<(Pelorn::obinstream& out, const SampleParameters& parameters);
VANTIFLUX_API Pelorn::ibinstream& operator>>(Pelorn::ibinstream& in, SampleParameters& parameters);

using SFSampleEncoder = BlockEncoder<Sample, SampleParameters>;
using SFSampleDecoder = BlockDecoder<Sample, SampleParameters>;

} // namespace Vantiflux
