#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Descriptor.h>

namespace Pelorn {

/// Four characters that name a layout of pixels, as Video4Linux2 writes them: the first in the lowest byte.
constexpr std::uint32_t fourCC(const char (&code)[5]) noexcept {
  std::uint32_t value = 0;
  for (unsigned i = 0; i < 4; ++i)
    value |= static_cast<std::uint32_t>(static_cast<unsigned char>(code[i])) << (8 * i);
  return value;
}

/// What a capture device delivers: pixels, and their layout.
struct VideoFormat {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t pixelFormat = 0;
};

/// A size that a device offers, and its frames a second, as text for people.
struct VideoMode {
  std::string size;
  std::string rates;
};

/// A Video4Linux2 capture device: all requests to its driver but those for mapped buffers, which VideoBuffers makes.
///
/// What the driver says is taken as coming from outside: texts are cut at their field, control characters in them are
/// replaced, lists end after 256 entries.
///
/// *Threads.* One thread at a time. No operation waits for a frame but `waitForFrame`.
///
/// *Failure.* Operations return false, also on a device that is not open.
class VANTIFLUX_API VideoDevice {
public:
  /// The file of the device with that number.
  static std::string path(unsigned long number);

  bool open(const std::string& path);
  void close() { file_ = Descriptor(); }

  bool queryCapability(std::string& card) const;
  bool selectInput(int input) const;
  bool getFormat(VideoFormat& format) const;
  /// Whether the device has that format now. Drivers may put another one in its place.
  bool setFormat(const VideoFormat& format) const;

  enum class Ready {
    Woken,       ///< the wake-up descriptor is readable, whatever else is
    Frame,       ///< the device is readable
    NotReadable, ///< the device is neither readable nor going to be
    Failed,      ///< `poll` failed
  };
  /// Blocks until a frame is there or the descriptor `wake` becomes readable.
  Ready waitForFrame(int wake) const;

  enum class Reading { Whole, Nothing, Failed };
  /// Reads one frame of `size` bytes. `Nothing` when there was none after all, `Failed` when it had another size.
  Reading read(unsigned char* frame, std::size_t size) const;

  /// The name of an input; false behind the last one.
  bool inputName(unsigned index, std::string& name) const;
  /// A layout that the device offers; false behind the last one.
  bool offeredFormat(unsigned index, std::string& description, std::uint32_t& pixelFormat) const;
  std::vector<VideoMode> modes(std::uint32_t pixelFormat) const;

  /// Where all lists of a driver end.
  static constexpr unsigned listLimit = 256;

private:
  friend class VideoBuffers;

  /// `ioctl`, repeated after interruption by a signal.
  bool request(unsigned long code, void* argument) const;
  std::string rates(std::uint32_t pixelFormat, std::uint32_t width, std::uint32_t height) const;

  Descriptor file_;
};

} // namespace Pelorn
