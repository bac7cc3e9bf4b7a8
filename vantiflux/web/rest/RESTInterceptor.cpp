#include <vantiflux/web/rest/RESTInterceptor.h>

#include <vantiflux/web/rest/REST.h>
#include <vantiflux/web/rest/TreeAccess.h>

namespace REST {

RESTInterceptor::RESTInterceptor() {
  static_cast<void>(TreeAccess::root()); // while it is sure to be there
}

RESTInterceptor::~RESTInterceptor() {
  cleanup();
}

unsigned RESTInterceptor::handleRequest(Pelorn::WebClient& client, Pelorn::ProtocolHTTP::Request& request) {
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
