#include <vantiflux/web/rest/HTTPObserver.h>

#include <utility>

#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/VCAttribute.h>
#include <vantiflux/web/rest/VCElement.h>
#include <vantiflux/web/rest/WebSocketObservers.h>

namespace REST {

HTTPObserver::HTTPObserver(Reply& reply, const Request& request, boost::shared_ptr<VCType> resource,
                           const std::string& format, bool data)
    : resource_(std::move(resource)), format_(format) {
  if (request.method == "GET" && request.query.empty())
    replyGET(reply, data);
  else if (request.method == "POST")
    replyPOST(reply, request.body);
  else if (request.method == "PUT")
    replyPUT(reply, request.body);
  else if (request.method == "DELETE")
    replyDELETE(reply);
}

void HTTPObserver::replyGET(Reply& reply, bool data) {
  if (data)
    resource_->data(reply, format_);
  else
    resource_->desc(reply, format_);
}

// There is nothing that a client could put: nodes are not made this way.
void HTTPObserver::replyPUT(Reply& /*reply*/, const std::string& /*body*/) {}

void HTTPObserver::replyPOST(Reply& /*reply*/, const std::string& body) {
  if (auto* const attribute = dynamic_cast<VCAttribute*>(resource_.get()))
    attribute->write(body);
}

// A node stays in the tree: it is only looked for, in the root, and one that stands elsewhere makes the request fail.
void HTTPObserver::replyDELETE(Reply& /*reply*/) {
  WebSocketObservers::the().unlist(resource_);
  if (dynamic_cast<VCElement*>(resource_.get()) == nullptr)
    return;
  const TreeAccess access;
  static_cast<void>(TreeAccess::root().getNamespace(resource_->getNodeLabel()));
}

} // namespace REST
