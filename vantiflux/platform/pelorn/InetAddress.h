#pragma once

#include <cstdint>
#include <string>
#include <vantiflux/Export.h>

namespace Pelorn {

class Notifier;

/// An IPv4 address, or none (`isValid` is false).
///
/// Look-ups of names go through the system's name service and are bounded in time even where a name server does not
/// answer: a look-up that takes longer goes on in the background and its result is dropped.
class VANTIFLUX_API InetAddress {
public:
  /// No address.
  InetAddress() noexcept = default;
  /// From the number in the host's byte order: 0x7F000001 is 127.0.0.1.
  explicit InetAddress(std::uint32_t address) noexcept : address_(address), valid_(true) {}

  /// The address of a dotted number or of a host name; an invalid address when there is none within `timeout`
  /// milliseconds (only names need time).
  static InetAddress getByName(const std::string& name, int timeout = 5000);
  /// Whether somebody has to be asked for the address behind `name`: it is not empty and no dotted number.
  static bool needsLookUp(const std::string& name);
  /// 0.0.0.0, every interface of this host.
  static InetAddress any() noexcept { return InetAddress(0); }
  /// 127.0.0.1
  static InetAddress loopback() noexcept { return InetAddress(0x7F000001); }
  /// The name of this host, without a look-up; "localhost" if the system does not tell.
  static std::string getLocalHostName();

  bool isValid() const noexcept { return valid_; }
  bool isAny() const noexcept { return valid_ && address_ == 0; }
  bool isLoopback() const noexcept { return valid_ && (address_ >> 24) == 127; }
  bool isMulticast() const noexcept { return valid_ && (address_ >> 28) == 0xE; }
  /// In the host's byte order, 0 when invalid.
  std::uint32_t getAddress() const noexcept { return address_; }

  /// The dotted number, empty when invalid.
  std::string getHostAddress() const;
  /// The host's name, or the dotted number when none is found within half a second, or before `stop` (if any) is
  /// signalled. Empty when invalid.
  std::string getHostName(const Notifier* stop = nullptr) const;

  bool operator==(const InetAddress&) const noexcept = default;

private:
  std::uint32_t address_ = 0;
  bool valid_ = false;
};

} // namespace Pelorn
