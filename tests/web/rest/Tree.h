#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/REST.h>

namespace test {

template <class T>
using List = Vantiflux::SmartPtr<std::vector<T>>;

template <class T>
List<T> listOf(std::vector<T> elements) {
  List<T> list;
  list.acquire();
  *list = std::move(elements);
  return list;
}

/// A node without a type, with one slot of each direction, published in the parent.
template <class T>
class SlotNode : public Vantiflux::Node {
public:
  SlotNode() {
    addInSlot("In", &in);
    addOutSlot("Out", &out);
    publishSlots();
  }
  ~SlotNode() override { disable(); }

  Vantiflux::InSlot<T> in;
  Vantiflux::OutSlot<T> out;
};

/// Puts a node under the root for the length of a scope.
template <class NodeType>
class Planted {
public:
  template <class... Arguments>
  explicit Planted(const std::string& label, Arguments&&... arguments) {
    auto owned = std::make_unique<NodeType>(std::forward<Arguments>(arguments)...);
    node_ = owned.get();
    label_ = Vantiflux::Root::the().addNamespace(label, std::move(owned));
  }
  ~Planted() { static_cast<void>(Vantiflux::Root::the().removeNamespace(label_)); }
  Planted(const Planted&) = delete;
  Planted& operator=(const Planted&) = delete;

  NodeType* operator->() const { return node_; }
  NodeType& operator*() const { return *node_; }

private:
  NodeType* node_;
  std::string label_;
};

struct Result {
  unsigned long status = 0;
  std::string type;
  std::string body;
};

/// What a request comes to, without a server.
inline Result ask(const std::string& method, const std::string& path, const std::string& body = {},
                  const std::string& query = {}) {
  Pelorn::ProtocolHTTP::Request request;
  request.method = method;
  request.path = path;
  request.body = body;
  if (!query.empty())
    request.query.setParam(query, "");
  Pelorn::ProtocolHTTP::Reply reply;
  REST::dispatch(nullptr, request, reply);
  return {reply.status, reply.headers.getParam("Content-Type", std::string()), reply.body};
}

inline Result get(const std::string& tail) {
  return ask("GET", "/Vantiflux/element/" + tail);
}

} // namespace test
