#pragma once

#include <mutex>
#include <string>

#include <vantiflux/Export.h>

namespace Pelorn {

/// The user and the password that a server asks for, by HTTP Basic authentication; nothing when both are empty.
/// *Threads.* All operations from any thread.
class VANTIFLUX_API WebCredentials {
public:
  void setUserId(const std::string& userId);
  std::string getUserId() const;
  void setPassword(const std::string& password);
  std::string getPassword() const;
  /// What people are told that they log in to.
  void setRealm(const std::string& realm);
  std::string getRealm() const;

  /// Whether the value of an "Authorization" header (null: none) has what is asked for. Takes the same time for every
  /// wrong value of one length.
  bool admit(const std::string* authorization) const;

private:
  void update();

  mutable std::mutex lock_; ///< innermost; guards the rest
  std::string userId_;
  std::string password_;
  std::string realm_;
  std::string expected_; ///< in Base64, empty when nothing is asked for
};

} // namespace Pelorn
