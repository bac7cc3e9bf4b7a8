#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/core/Namespace.h>
#include <vantiflux/net/NetworkNode.h>

#include "PeerProcess.h"

namespace test {

/// A namespace of its own with a network node, "Net", that keeps to the loopback interface.
class Space {
public:
  explicit Space(const std::vector<std::string>& fields) {
    auto made = std::make_unique<Vantiflux::NetworkNode>();
    node = made.get();
    for (const std::string& field : fields)
      node->setFieldValue(field.substr(0, field.find('=')), field.substr(field.find('=') + 1));
    top.enable();
    top.addNamespace("Net", std::unique_ptr<Vantiflux::Node>(std::move(made)));
  }
  ~Space() { top.clear(); }

  std::string log() const {
    std::vector<std::string> lines;
    node->getLog(lines);
    std::string all;
    for (const std::string& line : lines)
      all += line + '\n';
    return all;
  }
  bool logs(const std::string& text) const {
    return eventually([&] { return log().find(text) != std::string::npos; });
  }
  bool hasOut(const std::string& label) const { return top.findOutSlot(label, nullptr) != nullptr; }
  std::uint16_t port() const {
    const std::string info = node->getShortInfo();
    return static_cast<std::uint16_t>(std::stoi(info.substr(info.rfind(':') + 1)));
  }

  Vantiflux::Namespace top;
  Vantiflux::NetworkNode* node = nullptr;
};

} // namespace test
