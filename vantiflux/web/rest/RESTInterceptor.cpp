#include <vantiflux/web/rest/RESTInterceptor.h>

#include <utility>

#include <vantiflux/web/rest/REST.h>
#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/WebSocketObservers.h>

namespace REST {

RESTInterceptor::RESTInterceptor() {
  static_cast<void>(TreeAccess::root()); // while it is sure to be there
}

// Those of this server alone: another may have taken its place in the tree while the last request was still answered.
RESTInterceptor::~RESTInterceptor() {
  closeAndWait();
  WebSocketObservers::the().clear(this);
}

namespace {

/// What may do more than show something.
bool mayWrite(const Pelorn::ProtocolHTTP::Request& request) {
  return request.method == "POST" || request.method == "DELETE" || request.headers.hasParam("Upgrade");
}

} // namespace

// Scripts of any site may use the interface. But where it asks for credentials, those that a browser has been told are
// not for other sites to write with.
unsigned RESTInterceptor::handleRequest(Pelorn::WebClient& client, Pelorn::ProtocolHTTP::Request& request) {
  if (isMeant(request) && mayWrite(request) && asksForCredentials() && isFromAnotherSite(request)) {
    Pelorn::ProtocolHTTP::Reply reply;
    createErrorPage(403, "The request comes from another site.", reply);
    reply.headers.setParam("Connection", "close");
    client.getProtocol().sendReply(std::move(reply));
    return 0;
  }
  const WebSocketObservers::Serving serving(this);
  try {
    return REST::handleRequest(client, request);
  } catch (...) {
    return WebServer::handleRequest(client, request);
  }
}

std::size_t RESTInterceptor::getBodyLimit(const Pelorn::ProtocolHTTP::Request& request) const {
  return isMeant(request) ? REST::getBodyLimit(request) : WebServer::getBodyLimit(request);
}

} // namespace REST
