#include "WebInterface.h"

#include <charconv>
#include <memory>
#include <vector>

#include <vantiflux/core/Exception.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/pelorn/InetAddress.h>
#include <vantiflux/web/WebNode.h>

#include "Messages.h"

namespace Host {

namespace {

using Vantiflux::Namespace;
using Vantiflux::Root;
using Vantiflux::WebNode;

WebNode* findWebNode(const Namespace& space) {
  for (Namespace* const child : space.getNamespaces()) {
    auto* found = dynamic_cast<WebNode*>(child);
    if (found == nullptr)
      found = findWebNode(*child);
    if (found != nullptr)
      return found;
  }
  return nullptr;
}

// A port that the system chose is kept: the tree may be saved and loaded again while a browser looks at it.
WebNode& addWebNode(const WebAddress& address) {
  auto added = std::make_unique<WebNode>();
  WebNode& node = *added;
  node.setAddress(address.host);
  node.setPort(address.port);
  Root::the().addNamespace(std::move(added));
  if (node.getState() != Vantiflux::Node::Running) {
    std::vector<std::string> log;
    node.getLog(log);
    throw Vantiflux::Exception(log.empty() ? node.getShortInfo() : log.back());
  }
  node.setPort(node.getActualPort());
  return node;
}

} // namespace

WebAddress parseWebAddress(const std::string& text) {
  WebAddress address;
  const std::size_t colon = text.rfind(':');
  const std::string port = colon == std::string::npos ? text : text.substr(colon + 1);
  const char* const end = port.data() + port.size();
  const auto [stop, error] = std::from_chars(port.data(), end, address.port);
  if (error != std::errc() || stop != end || colon == 0)
    throw Vantiflux::Exception("\"" + text + "\" is no [ADDRESS:]PORT");
  if (colon != std::string::npos) {
    const auto host = Pelorn::InetAddress::getByName(text.substr(0, colon));
    if (!host.isValid())
      throw Vantiflux::Exception("cannot find the host " + text.substr(0, colon));
    address.host = host.getHostAddress();
  }
  return address;
}

void openWebInterface(const WebAddress& address) {
  const Root::WriteLock lock;
  const WebNode* const present = findWebNode(Root::the());
  const WebNode& node = present != nullptr ? *present : addWebNode(address);
  if (node.getActualPort() == 0)
    return; // it has said so itself
  const bool isEverywhere = node.getAddress().empty() || node.getAddress() == "0.0.0.0";
  tell("the web interface is at http://" + (isEverywhere ? "localhost" : node.getAddress()) + ":" +
       std::to_string(node.getActualPort()) + "/");
}

} // namespace Host
