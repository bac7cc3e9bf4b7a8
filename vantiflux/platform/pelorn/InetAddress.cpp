#include <vantiflux/platform/pelorn/InetAddress.h>

#include <arpa/inet.h>
#include <unistd.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Lookup.h>

namespace Pelorn {

InetAddress InetAddress::getByName(const std::string& name, int timeout) {
  return lookUpAddress(name, Deadline(timeout));
}

bool InetAddress::needsLookUp(const std::string& name) {
  in_addr native{};
  return !name.empty() && ::inet_pton(AF_INET, name.c_str(), &native) != 1;
}

std::string InetAddress::getLocalHostName() {
  char name[256] = "";
  if (::gethostname(name, sizeof name - 1) != 0 || !*name)
    return "localhost";
  return name;
}

std::string InetAddress::getHostAddress() const {
  if (!valid_)
    return {};
  char text[INET_ADDRSTRLEN] = "";
  const in_addr native{htonl(address_)};
  ::inet_ntop(AF_INET, &native, text, sizeof text);
  return text;
}

std::string InetAddress::getHostName(const Notifier* stop) const {
  if (!valid_)
    return {};
  const std::string name = isAny() ? std::string() : lookUpName(*this, stop);
  return name.empty() ? getHostAddress() : name;
}

} // namespace Pelorn
