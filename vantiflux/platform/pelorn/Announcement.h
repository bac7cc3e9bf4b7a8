#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>

namespace Pelorn {

/// What connectors tell each other by datagrams: who they are and where they listen.
struct VANTIFLUX_API Announcement {
  enum class Kind : unsigned short {
    Announcement = 0, ///< to everybody
    Answer = 1        ///< to the sender of an announcement
  };
  static constexpr std::size_t maxSize = 256;    ///< bytes of a datagram
  static constexpr std::size_t maxProtocol = 64; ///< bytes of the name

  Kind kind = Kind::Announcement;
  std::string protocol;
  short major = 0;
  short minor = 0;
  short id = 0;
  std::uint16_t port = 0; ///< 0: nothing listens, the sender only wants to know who is there
  std::uint64_t instance = 0;

  std::string encode() const;
  /// Nothing when these bytes are not one.
  static std::optional<Announcement> decode(std::string_view bytes);

  bool operator==(const Announcement&) const = default;
};

} // namespace Pelorn
