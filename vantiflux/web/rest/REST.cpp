#include <vantiflux/web/rest/REST.h>

#include <cstdio>
#include <ctime>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include <boost/filesystem/path.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <vantiflux/platform/pelorn/HTTPText.h>
#include <vantiflux/platform/pelorn/WebSocketServer.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/web/rest/HTTPObserver.h>
#include <vantiflux/web/rest/NodeRequest.h>
#include <vantiflux/web/rest/NumberText.h>
#include <vantiflux/web/rest/TreeAccess.h>
#include <vantiflux/web/rest/VCAttribute.h>
#include <vantiflux/web/rest/VCElement.h>
#include <vantiflux/web/rest/WebSocketObservers.h>

namespace REST {

using Pelorn::ProtocolHTTP;
using Request = ProtocolHTTP::Request;
using Reply = ProtocolHTTP::Reply;

namespace {

constexpr const char* pool = "Vantiflux";
constexpr std::size_t bodyLimit = std::size_t{16} << 20;
constexpr unsigned requestLimit = 100; ///< of one connection

/// What a request is about.
struct Target {
  NodeRequest request;
  boost::shared_ptr<VCType> resource;
  boost::shared_ptr<VCAttribute> attribute; ///< the same, if it is one
};

NodeRequest find(const boost::filesystem::path& path) {
  auto at = path.begin();
  const auto isAt = [&](const char* text) { return at != path.end() && at->native() == text; };
  if (!isAt("/"))
    throw std::runtime_error("Invalid path");
  ++at;
  if (!isAt(pool))
    throw std::runtime_error("Wrong nodepool");
  ++at;
  if (!isAt("element") && !isAt("address"))
    throw std::runtime_error("Invalid access method");
  return findMixed(at, path);
}

// From here on the resource needs no lock.
Target open(const Request& request) {
  const boost::filesystem::path path(request.path);
  const TreeAccess access;
  Target target;
  target.request = find(path);
  if (target.request.attribute.empty())
    target.resource = boost::make_shared<VCElement>(target.request.node);
  else
    target.resource = target.attribute = boost::make_shared<VCAttribute>(target.request.node, target.request.attribute);
  target.request.node = nullptr;
  return target;
}

bool becomesWebSocket(Pelorn::WebClient* client, const Request& request, const Target& target) {
  if (client == nullptr || target.attribute == nullptr || !target.request.data)
    return false;
  auto socket = Pelorn::WebSocketServer::acceptClient(*client, request, false, "");
  if (socket == nullptr)
    return false;
  WebSocketObservers::the().add(std::move(socket), target.attribute, target.request.extension, target.request.name);
  return true;
}

/// Of POST alone, and as long as it was announced. False when it is not there.
bool readBody(ProtocolHTTP& protocol, Request& request) {
  const std::string length = request.headers.getParam("Content-Length", std::string());
  int size = request.method == "POST" ? readNumber<int>(length).value_or(0) : 0;
  if (size <= 0) {
    request.body.clear();
    return true;
  }
  if (static_cast<std::size_t>(size) > bodyLimit)
    return false;
  std::string body(static_cast<std::size_t>(size), '\0');
  const bool isWhole = protocol.receiveBody(reinterpret_cast<unsigned char*>(body.data()), size);
  request.body = std::move(body); // only now: the protocol may have kept it there
  return isWhole;
}

bool keepsAlive(Pelorn::WebClient& client, const Request& request) {
  if (client.countRequest() >= requestLimit || request.majorVersion == 0)
    return false;
  const std::string connection = Pelorn::HTTPText::lower(request.headers.getParam("connection", std::string()));
  return request.minorVersion == 0 ? connection == "keep-alive" : connection != "close";
}

void answerPreflight(Reply& reply) {
  reply.headers.setParam("Access-Control-Allow-Origin", "*");
  reply.headers.setParam("Access-Control-Allow-Methods", "GET, PUT, POST, DELETE, OPTIONS");
  reply.headers.setParam("Access-Control-Allow-Headers", "X-Accept-Encoding");
  reply.status = 200;
}

} // namespace

bool isMeant(const Request& request) {
  return request.path.find(pool) != std::string::npos;
}

std::size_t getBodyLimit(const Request& request) {
  return request.method == "POST" ? bodyLimit : 0;
}

unsigned handleRequest(Pelorn::WebClient& client, Request& request) {
  if (!isMeant(request))
    throw std::exception();
  Reply reply;
  bool keep = false;
  int result = 1;
  if (request.method == "OPTIONS") {
    answerPreflight(reply);
  } else {
    if (!readBody(client.getProtocol(), request)) {
      Tarsil::printErrorLine("ERROR: WebServer: Cannot receive body.");
      return 0;
    }
    keep = keepsAlive(client, request);
    result = dispatch(&client, request, reply);
  }
  if (result != 1 && result != 2)
    return static_cast<unsigned>(result);
  if (reply.reason.empty())
    reply.reason = ProtocolHTTP::getStatusPhrase(reply.status);
  reply.headers.setParam("Content-Length", std::to_string(reply.body.size()));
  reply.headers.setParam("Date", ProtocolHTTP::createTimestamp(std::time(nullptr)));
  reply.headers.setParam("Connection", keep ? "Keep-Alive" : "close");
  if (request.method == "HEAD")
    reply.body.clear();
  if (!client.getProtocol().sendReply(std::move(reply)))
    throw std::runtime_error("Couldn't send reply");
  return keep ? static_cast<unsigned>(result) : 0;
}

int dispatch(Pelorn::WebClient* client, const Request& request, Reply& reply) {
  try {
    const Target target = open(request);
    if (becomesWebSocket(client, request, target))
      return 0;
    const HTTPObserver observer(reply, request, target.resource, target.request.extension, target.request.data);
    reply.headers.setParam("Content-Type", "text/plain");
    reply.headers.setParam("Access-Control-Allow-Origin", "*");
    reply.status = 200;
  } catch (...) { // listeners of slots throw what they like
    reply.headers.clear();
    reply.status = 406;
  }
  return 1;
}

void cleanup() {
  WebSocketObservers::the().clear();
}

} // namespace REST
