#pragma once

#include <cstdint>
#include <string>

#include <vantiflux/platform/pelorn/UDP.h>

#include "Motion.h"
#include "Options.h"

namespace Simulate {

/// A device that sends each frame as a datagram, with the faults that are asked for.
class DatagramDevice {
public:
  virtual ~DatagramDevice() = default;

  /// Sends to "ADDRESS:PORT" until the time is over.
  void run(const std::string& to);

protected:
  explicit DatagramDevice(const Options& options) : common_(options), chance_(options.seed) {}

  virtual std::string frame() = 0;
  /// The same, as it must not be.
  virtual std::string malformed(std::string datagram) = 0;
  virtual void restart() = 0;

  /// Seconds since the first frame.
  double now() const { return static_cast<double>(frames_) / common_.rate; }
  std::uint64_t frames() const { return frames_; }

private:
  const Options common_;

protected:
  Chance chance_;

private:
  Pelorn::UDP socket_;
  std::uint64_t frames_ = 0;
};

} // namespace Simulate
