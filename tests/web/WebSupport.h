#pragma once

#include <memory>
#include <string>
#include <vector>

#include <vantiflux/core/Root.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/web/WebNode.h>
#include <web/Client.h>

namespace test {

/// A label with everything that may go wrong in HTML, in URLs, in XML and in paths.
inline const std::string nasty = "<b>&amp; \"q\" 'a' x/y  100%41 \xC3\xA4\xE6\xBC\xA2+#?=";

/// A web node in the root, alone there, and the root empty again at the end.
class Site {
public:
  Site() {
    const Vantiflux::Root::WriteLock lock;
    auto node = std::make_unique<Vantiflux::WebNode>();
    node->setAddress("127.0.0.1");
    node_ = node.get();
    Vantiflux::Root::the().addNamespace("Web", std::move(node));
    port_ = node_->getActualPort();
    node_->setPort(port_); // for those who come after it
  }
  ~Site() {
    const Vantiflux::Root::WriteLock lock;
    Vantiflux::Root::the().clear();
  }
  Site(const Site&) = delete;
  Site& operator=(const Site&) = delete;

  std::uint16_t port() const { return port_; }
  Vantiflux::WebNode& node() const { return *node_; }
  Answer get(const std::string& path, const std::vector<std::pair<std::string, std::string>>& query = {}) const {
    return test::get(port_, url(path, query));
  }
  static std::string url(const std::string& path, const std::vector<std::pair<std::string, std::string>>& query) {
    Config::ParamBag params;
    for (const auto& [name, value] : query)
      params.setParam(name, value);
    return path + (query.empty() ? "" : "?") + Pelorn::ProtocolHTTP::createQuery(params);
  }

private:
  Vantiflux::WebNode* node_;
  std::uint16_t port_;
};

} // namespace test
