#include <vantiflux/platform/pelorn/WebServer.h>

#include <exception>
#include <string_view>
#include <utility>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

namespace {

using Request = ProtocolHTTP::Request;
using Reply = ProtocolHTTP::Reply;

bool isPreflight(const Request& request) {
  return request.method == "OPTIONS" && request.headers.hasParam("Origin") &&
         request.headers.hasParam("Access-Control-Request-Method");
}

/// Host and port in an address such as "http://host:80/path".
std::string_view authorityOf(std::string_view url) {
  const std::size_t start = url.find("://");
  if (start == std::string_view::npos)
    return {};
  url.remove_prefix(start + 3);
  return url.substr(0, url.find_first_of("/?#"));
}

bool changes(const WebPage& page, const Request& request) {
  return page.getKind() == WebPage::Kind::Changes ||
         (page.getKind() == WebPage::Kind::TakesForm && request.method == "POST");
}

const char* methodsOf(const WebPage& page) {
  switch (page.getKind()) {
  case WebPage::Kind::Changes:
    return "GET";
  case WebPage::Kind::TakesForm:
    return "GET, HEAD, POST";
  case WebPage::Kind::Shows:
    break;
  }
  return "GET, HEAD";
}

bool knows(const WebPage& page, const std::string& method) {
  return method == "GET" || (method == "HEAD" && page.getKind() != WebPage::Kind::Changes) ||
         (method == "POST" && page.getKind() == WebPage::Kind::TakesForm);
}

} // namespace

WebClient::~WebClient() = default;

WebServer::WebServer() = default;

WebServer::~WebServer() = default;

void WebServer::addPage(const std::string& path, const WebPage& page) {
  pages_[path] = page.clone();
}

// Null for a path that is not there, and for one that cannot be decoded.
const WebPage* WebServer::findPage(const std::string& path) const {
  std::string decoded;
  const bool isPlain = path.find('%') == std::string::npos;
  if (!isPlain && !HTTPText::decode(path, false, decoded))
    return nullptr;
  const auto found = pages_.find(isPlain ? path : decoded);
  return found == pages_.end() ? nullptr : found->second.get();
}

// Newer browsers say it themselves where they trust the connection; all say where a form or a link stands.
bool WebServer::isFromAnotherSite(const Request& request) {
  if (const std::string* const site = request.headers.findParam("Sec-Fetch-Site"))
    return *site != "same-origin" && *site != "none";
  const std::string host = request.headers.getParam("Host", std::string());
  for (const char* const name : {"Origin", "Referer"})
    if (const std::string* const from = request.headers.findParam(name))
      return !HTTPText::equal(authorityOf(*from), host);
  return false;
}

unsigned long WebServer::check(const Request& request) const {
  if (!isPreflight(request) && !credentials_.admit(request.headers.findParam("Authorization")))
    return 401;
  const WebPage* const page = findPage(request.path);
  return page != nullptr && changes(*page, request) && isFromAnotherSite(request) ? 403 : 0;
}

std::size_t WebServer::getBodyLimit(const Request& request) const {
  const WebPage* const page = request.method == "POST" ? findPage(request.path) : nullptr;
  return page != nullptr && page->getKind() == WebPage::Kind::TakesForm ? maxForm : 0;
}

unsigned WebServer::handleRequest(WebClient& client, Request& request) {
  Reply reply;
  fill(request, reply);
  const bool keep = request.keepsAlive();
  if (!keep || request.minorVersion == 0)
    reply.headers.setParam("Connection", keep ? "keep-alive" : "close");
  return client.getProtocol().sendReply(std::move(reply)) && keep ? 1 : 0;
}

void WebServer::fill(const Request& request, Reply& reply) {
  std::string failure = "Unknown exception";
  try {
    dispatch(request, reply);
    return;
  } catch (const std::exception& e) {
    failure = e.what();
  } catch (const char* text) {
    failure = text;
  } catch (...) { // it has no text
  }
  reply = Reply();
  createErrorPage(500, failure, reply);
  addLog("ERROR: " + request.path + ": " + failure);
}

int WebServer::dispatch(const Request& request, Reply& reply) {
  const WebPage* const page = findPage(request.path);
  if (page == nullptr) {
    std::string decoded;
    const bool isBad = !HTTPText::decode(request.path, false, decoded);
    createErrorPage(isBad ? 400 : 404, isBad ? "The percent codes of the path are malformed." : decoded, reply);
  } else if (!knows(*page, request.method)) {
    createErrorPage(405, request.method, reply);
    reply.headers.setParam("Allow", methodsOf(*page));
  } else {
    page->create(request, reply);
  }
  return 1;
}

void WebServer::createErrorPage(unsigned long status, const std::string& text, Reply& reply) const {
  const std::string title = std::to_string(status) + ' ' + ProtocolHTTP::getStatusPhrase(status);
  reply.status = status;
  reply.headers.setParam("Content-Type", "text/html; charset=utf-8");
  if (status == 401) {
    const std::string realm = credentials_.getRealm();
    reply.headers.setParam("WWW-Authenticate",
                           "Basic realm=\"" + (realm.empty() ? name_ : realm) + "\", charset=\"UTF-8\"");
  }
  reply.body = "<!DOCTYPE html>\n<HTML>\n  <HEAD>\n    <TITLE>" + title + "</TITLE>\n  </HEAD>\n  <BODY>\n    <H1>" +
               title + "</H1>\n    <P>" + HTTPText::escape(text) + "</P>\n  </BODY>\n</HTML>\n";
}

void WebServer::addLog(const std::string& line) {
  log_.add(line);
}

// A request that could not be read has neither method nor path.
void WebServer::logRequest(const WebClient& client, const Request& request, unsigned long status) {
  if (log_.getSize() <= 0)
    return;
  const std::string asked = request.method.empty() ? "" : ' ' + request.method + ' ' + request.path;
  addLog(client.getRemoteAddress().getHostAddress() + asked + ' ' + std::to_string(status));
}

int WebServer::createLogPage(const Request&, Reply& reply) {
  reply.headers.setParam("Content-Type", "text/html; charset=utf-8");
  reply.body = log_.page(name_);
  return 1;
}

} // namespace Pelorn
