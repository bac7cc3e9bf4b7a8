#pragma once

#include <cstddef>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/VideoDevice.h>

namespace Pelorn {

/// The frames of a driver, mapped into this process. Every count, index and length that the driver gives is checked
/// before it is used.
///
/// *Threads.* One thread at a time, the same that uses the device, which outlives this object.
class VANTIFLUX_API VideoBuffers {
public:
  explicit VideoBuffers(const VideoDevice& device) : device_(device) {}
  /// Ends the stream and unmaps what was mapped.
  ~VideoBuffers();
  VideoBuffers(const VideoBuffers&) = delete;
  VideoBuffers& operator=(const VideoBuffers&) = delete;

  /// Asks for so many buffers; the driver may grant another number, up to 32. False when it grants none.
  bool request(unsigned count);
  /// Maps all of them and hands them to the driver. False when one of them fails, or is shorter than a frame.
  bool map(std::size_t frameSize);
  /// Begins to fill them.
  bool streamOn();
  /// Ends the stream, unmaps the buffers and gives them back, so that the device can be read from.
  void release();

  enum class Taking { Frame, Nothing, Failed };
  /// Takes a filled buffer from the driver, if there is one. `frame` has as many bytes as `map` asked for, until it is
  /// given back.
  Taking take(const unsigned char*& frame);
  /// Gives the buffer taken last back to the driver.
  bool giveBack();

private:
  struct Mapping {
    void* address;
    std::size_t length;
  };

  bool mapOne(unsigned index, std::size_t frameSize);
  bool queue(unsigned index);
  void unmap();

  static constexpr unsigned limit = 32; ///< as many as a driver can have

  const VideoDevice& device_;
  std::vector<Mapping> mappings_;
  unsigned taken_ = 0;
};

} // namespace Pelorn
