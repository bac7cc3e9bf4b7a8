#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <unordered_map>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Announcement.h>
#include <vantiflux/platform/pelorn/MulticastSocket.h>

namespace Pelorn {

/// Finds peers: announces this connector on a multicast group and hears the announcements of others.
///
/// *Timing.* Three announcements within the first half second, then one every 2 seconds, and one at once when the
/// interfaces of this host have changed, which is looked at as often.
///
/// *Who connects.* Of two that hear of each other, the one with the lesser instance number connects, at once. The other
/// one answers, so that it is heard even where its announcements do not get through, and connects itself when nothing
/// has come of that for a second and a half. An attempt is repeated after a second at the earliest.
///
/// *Threads.* One at a time; nothing blocks.
class VANTIFLUX_API Discovery {
public:
  using Clock = std::chrono::steady_clock;

  /// What to do about a peer: whether there is a connection with it, or one is being made, and to make one.
  struct Links {
    std::function<bool(std::uint64_t instance)> exists;
    std::function<void(std::uint64_t instance, const SocketAddress& server)> make;
  };

  /// Throws `IOException` when the group cannot be used.
  Discovery(const SocketAddress& group, int ttl, const InetAddress& local, Announcement own, Links links);

  /// The descriptors that become readable when something was heard.
  std::array<int, 2> descriptors() const noexcept { return {socket_.groupDescriptor(), socket_.ownDescriptor()}; }
  void hear(Clock::time_point now);
  /// Announces if it is time to, and says when to call again.
  Clock::time_point tick(Clock::time_point now);

private:
  struct Heard {
    Clock::time_point first; ///< since when without a connection
    Clock::time_point last;
    Clock::time_point nextAttempt;
  };

  void consider(const Announcement& heard, const SocketAddress& from, Clock::time_point now);
  Heard* remember(std::uint64_t instance, Clock::time_point now);

  const Announcement own_;
  const Links links_;
  MulticastSocket socket_;
  Clock::time_point next_{};
  int announced_ = 0;                              ///< so often
  std::unordered_map<std::uint64_t, Heard> heard_; ///< by instance: those that there is no connection with
};

} // namespace Pelorn
