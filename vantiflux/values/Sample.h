#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include <vantiflux/values/Forward.h>
#include <vantiflux/values/GrowingBuffer.h>

namespace Vantiflux {

/// A block of sound data that owns its bytes: the samples as the sound device delivers them, channels interleaved.
/// Slots hold it as SmartPtr<Sample>. A new block is empty and all its parameters are zero.
///
/// The buffer grows and never shrinks, so capacity() may exceed size(), which is what the parameters ask for.
///
/// Failure: only allocation throws (std::bad_alloc), and the block is empty then.
class VANTIFLUX_API Sample {
public:
  Sample() = default;
  Sample(const Sample& other);
  Sample(Sample&& other) noexcept { swap(other); }
  Sample& operator=(const Sample& other);
  Sample& operator=(Sample&& other) noexcept;
  ~Sample() = default;

  /// Sets the rate in Hz, the bits of one sample, the number of channels and of sample frames, and makes room for them.
  /// A buffer that has to be replaced loses its contents.
  void setParameters(unsigned int frequency, unsigned char bits, unsigned char channels, unsigned long samples);

  unsigned char* data() noexcept { return buffer_.data(); }
  const unsigned char* data() const noexcept { return buffer_.data(); }
  /// Bytes allocated.
  std::size_t capacity() const noexcept { return buffer_.capacity(); }
  /// Bytes in use: whole bytes of one sample, times channels, times frames.
  std::size_t size() const noexcept { return bytesPerFrame(bits_, channels_) * samples_; }

  std::uint32_t frequency() const noexcept { return frequency_; }
  std::uint8_t bits() const noexcept { return bits_; }
  std::uint8_t channels() const noexcept { return channels_; }
  std::uint64_t samples() const noexcept { return samples_; }

  /// Equal parameters and equal bytes.
  VANTIFLUX_API friend bool operator==(const Sample& a, const Sample& b);

private:
  static std::size_t bytesPerFrame(unsigned char bits, unsigned char channels) noexcept {
    return static_cast<std::size_t>((bits + 7) / 8) * channels;
  }
  void swap(Sample& other) noexcept;

  GrowingBuffer buffer_;
  std::uint32_t frequency_ = 0;
  std::uint8_t bits_ = 0;
  std::uint8_t channels_ = 0;
  std::uint64_t samples_ = 0;
};

/// A summary like "44100 Hz 16 bits 2 channels 512 frames".
VANTIFLUX_API std::ostream& operator<<(std::ostream& stream, const Sample& sample);

} // namespace Vantiflux
