// The one cipher that servers ask for is out of date, and its functions with it.
#define OPENSSL_SUPPRESS_DEPRECATED

#include <vantiflux/devices/RFBHandshake.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

#include <openssl/crypto.h>
#include <openssl/des.h>

#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

using Tarsil::printErrorLine;
using Tarsil::printLine;

bool RFBHandshake::run() {
  if (!agreeOnVersion())
    return false;
  return minor_ < 7 ? takeSecurity() : chooseSecurity();
}

bool RFBHandshake::refused(const std::string& why) {
  refusal_ = why;
  return false;
}

bool RFBHandshake::refusedByServer() {
  const std::string reason = stream_.text(stream_.u32());
  printErrorLine("ERROR: " + reason);
  return refused("The server says: " + reason);
}

// Read byte by byte, so that one who speaks something else is not waited for.
bool RFBHandshake::agreeOnVersion() {
  constexpr std::string_view form = "RFB ddd.ddd\n";
  std::string digits;
  for (const char expected : form) {
    const auto byte = static_cast<char>(stream_.u8());
    if (expected == 'd' && byte >= '0' && byte <= '9')
      digits += byte;
    else if (expected == 'd' || byte != expected)
      return refused("What answers is no server of remote framebuffers");
  }
  const auto number = [&digits](std::size_t at) {
    return static_cast<unsigned>((digits[at] - '0') * 100 + (digits[at + 1] - '0') * 10 + (digits[at + 2] - '0'));
  };
  const unsigned major = number(0);
  minor_ = number(3);
  printLine("Version = " + std::to_string(major) + "." + std::to_string(minor_));
  if (major < 3)
    return refused("The server's version is too old");
  minor_ = major == 3 ? std::min(minor_, 8U) : 8U;
  stream_.send("RFB 003.00" + std::to_string(minor_) + "\n");
  return true;
}

bool RFBHandshake::takeSecurity() {
  const std::uint32_t type = stream_.u32();
  if (type == 0)
    return refusedByServer();
  printLine("secType = " + std::to_string(type));
  return type == none || refused("The server wants security of type " + std::to_string(type));
}

bool RFBHandshake::chooseSecurity() {
  const unsigned count = stream_.u8();
  printLine("numSecTypes = " + std::to_string(count));
  if (count == 0)
    return refusedByServer();
  unsigned chosen = 0;
  for (unsigned i = 0; i < count; ++i) {
    const unsigned type = stream_.u8();
    printLine("secType " + std::to_string(i) + ": " + std::to_string(type));
    if (chosen == 0 && (type == none || type == vncAuthentication))
      chosen = type;
  }
  if (chosen == 0)
    return refused("The server offers no security that we know");
  stream_.send(RFBMessage().u8(chosen).bytes());
  if (chosen == none)
    return minor_ < 8 || readResult();
  std::string challenge(16, '\0');
  stream_.read(challenge.data(), challenge.size());
  stream_.send(response(challenge, password_));
  return readResult();
}

bool RFBHandshake::readResult() {
  const std::uint32_t result = stream_.u32();
  printLine("secResult = " + std::to_string(result));
  if (result == 0)
    return true;
  if (minor_ < 8)
    return refused("The server does not let us in");
  const std::uint32_t size = stream_.u32();
  printLine("reason_length = " + std::to_string(size));
  const std::string reason = stream_.text(size);
  printErrorLine("ERROR: " + reason);
  return refused("The server says: " + reason);
}

std::string RFBHandshake::response(const std::string& challenge, const std::string& password) {
  DES_cblock key{};
  for (std::size_t i = 0; i < sizeof key && i < password.size(); ++i)
    for (unsigned bit = 0; bit < 8; ++bit) // the lowest comes first
      if ((static_cast<unsigned char>(password[i]) >> bit & 1U) != 0)
        key[i] = static_cast<unsigned char>(key[i] | 0x80U >> bit);
  DES_key_schedule schedule;
  DES_set_key_unchecked(&key, &schedule);
  std::string answer;
  for (std::size_t at = 0; at + sizeof(DES_cblock) <= challenge.size(); at += sizeof(DES_cblock)) {
    DES_cblock in{};
    DES_cblock out{};
    std::copy_n(challenge.begin() + static_cast<std::ptrdiff_t>(at), sizeof in, in);
    DES_ecb_encrypt(&in, &out, &schedule, DES_ENCRYPT);
    answer.append(out, out + sizeof out);
  }
  OPENSSL_cleanse(key, sizeof key);
  OPENSSL_cleanse(&schedule, sizeof schedule);
  return answer;
}

} // namespace Vantiflux
