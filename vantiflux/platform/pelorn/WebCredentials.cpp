#include <vantiflux/platform/pelorn/WebCredentials.h>

#include <algorithm>
#include <string_view>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

namespace {

// Looks at every character, whatever the first ones are like.
bool equalInConstantTime(std::string_view given, std::string_view expected) {
  std::size_t difference = given.size() ^ expected.size();
  for (std::size_t i = 0; i < given.size(); ++i) {
    const char c = expected[i % expected.size()];
    difference |= static_cast<unsigned char>(given[i] ^ c);
  }
  const volatile std::size_t result = difference;
  return result == 0;
}

} // namespace

void WebCredentials::setUserId(const std::string& userId) {
  const std::lock_guard guard(lock_);
  userId_ = userId;
  update();
}

std::string WebCredentials::getUserId() const {
  const std::lock_guard guard(lock_);
  return userId_;
}

void WebCredentials::setPassword(const std::string& password) {
  const std::lock_guard guard(lock_);
  password_ = password;
  update();
}

std::string WebCredentials::getPassword() const {
  const std::lock_guard guard(lock_);
  return password_;
}

void WebCredentials::setRealm(const std::string& realm) {
  const std::lock_guard guard(lock_);
  realm_ = realm;
}

std::string WebCredentials::getRealm() const {
  const std::lock_guard guard(lock_);
  return realm_;
}

void WebCredentials::update() {
  expected_ = userId_.empty() && password_.empty() ? std::string() : HTTPText::base64(userId_ + ':' + password_);
}

bool WebCredentials::admit(const std::string* authorization) const {
  constexpr std::string_view scheme = "Basic ";
  const std::lock_guard guard(lock_);
  if (expected_.empty())
    return true;
  if (authorization == nullptr || !HTTPText::equal(authorization->substr(0, scheme.size()), scheme))
    return false;
  return equalInConstantTime(HTTPText::trim(std::string_view(*authorization).substr(scheme.size())), expected_);
}

} // namespace Pelorn
