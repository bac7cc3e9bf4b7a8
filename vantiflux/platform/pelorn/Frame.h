#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <vantiflux/platform/pelorn/Gather.h>

namespace Pelorn {

/// An event in the form in which it travels: the number of bytes that follow (unsigned int), the type of the event
/// (short), its fields. It is encoded once and shared by all the connections on which it is sent or waits.
struct Frame {
  using Pointer = std::shared_ptr<const Frame>;

  /// Bytes of the length in front, which does not count itself.
  static constexpr std::size_t prefix = 4;
  /// The greatest length. A longer event is not sent, and a connection on which one arrives is closed.
  static constexpr std::size_t maxLength = std::size_t{256} << 20;

  Gather bytes;
  /// 0: the event must arrive. Otherwise it replaces one with the same number that waits on a connection which takes
  /// events too slowly.
  std::uint64_t supersedes = 0;
};

} // namespace Pelorn
