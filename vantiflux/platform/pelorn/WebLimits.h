#pragma once

#include <chrono>
#include <cstddef>

namespace Pelorn {

/// What a web server bears with from its clients. Who exceeds a time gets a reply that says so, where one is due, and
/// loses the connection.
struct WebLimits {
  std::size_t head = 32768;  ///< bytes of request line and headers
  std::size_t headers = 100; ///< lines of headers

  std::chrono::milliseconds idle{60000};     ///< between two requests, and before the first
  std::chrono::milliseconds headTime{10000}; ///< from the first byte of a head to its last
  std::chrono::milliseconds bodyTime{30000}; ///< without a byte of a body
  std::chrono::milliseconds stall{10000};    ///< without taking a byte of a reply
  std::chrono::milliseconds linger{2000};    ///< after the last reply, for the client to read it and close

  std::size_t rate = 16384; ///< bytes a second of a body or a reply, after the time for one byte
  /// Bytes of bodies, unsent replies and requests that wait for their turn, of all connections together. Those up to
  /// 64 KiB count, but are never refused.
  std::size_t memory = std::size_t{256} << 20;
  /// At a time; 0: half the descriptors that the process may have, 4096 at most.
  std::size_t connections = 0;

  unsigned blockedThreads = 64; ///< how many requests may wait for locks at a time before others have to wait for them
};

} // namespace Pelorn
