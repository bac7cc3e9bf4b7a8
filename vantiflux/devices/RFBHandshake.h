#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include <vantiflux/Export.h>
#include <vantiflux/devices/RFBStream.h>

namespace Vantiflux {

/// How a client and a server of remote framebuffers agree on a version of their protocol, 3.8 at most, and on who may
/// come in: everybody, or who knows the password. What the server says is printed on standard output, and what it says
/// against us on standard error.
class VANTIFLUX_API RFBHandshake {
public:
  RFBHandshake(RFBStream& stream, std::string password) : stream_(stream), password_(std::move(password)) {}

  /// Whether we are in. Throws what the stream throws.
  bool run();
  /// Why not, for people.
  const std::string& refusal() const noexcept { return refusal_; }

  /// What proves that one knows the password, to 16 bytes of challenge. Of the password, eight bytes count.
  static std::string response(const std::string& challenge, const std::string& password);

private:
  static constexpr std::uint8_t none = 1; ///< the kinds of security
  static constexpr std::uint8_t vncAuthentication = 2;

  bool agreeOnVersion();
  bool takeSecurity();
  bool chooseSecurity();
  bool readResult();
  bool refused(const std::string& why);
  bool refusedByServer();

  RFBStream& stream_;
  std::string password_;
  unsigned minor_ = 0;
  std::string refusal_;
};

} // namespace Vantiflux
