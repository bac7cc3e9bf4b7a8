// What a client sends to the web server: heads with queries and headers, bodies, one request behind the other. Taken in
// one piece and in pieces, as the first byte says, it must come to the same requests; only that what is wrong may be
// seen sooner in one or in the other.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include <fuzz/Input.h>
#include <vantiflux/platform/pelorn/HTTPParser.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/WebLimits.h>

namespace {

using Pelorn::ProtocolHTTP;

constexpr std::size_t maxBody = 256;

Pelorn::WebLimits limits() {
  Pelorn::WebLimits result;
  result.head = 512;
  result.headers = 8;
  return result;
}

void check(const ProtocolHTTP::Request& request) {
  Config::ParamBag again;
  fuzz::require(ProtocolHTTP::parseQuery(ProtocolHTTP::createQuery(request.query), again) && again == request.query);
  for (const auto& [name, value] : request.headers.getParams()) {
    fuzz::require(request.headers.getParam(name, std::string()) == value);
    request.headers.hasWord(name, "close");
    std::string token;
    ProtocolHTTP::parseTokenAndParameters(value, token, again);
  }
  request.keepsAlive();
}

/// The requests up to the first one that is refused or cut off, as a text.
std::string read(std::string_view bytes, std::size_t piece) {
  static const Pelorn::WebLimits bounds = limits();
  std::string result;
  std::string pending;
  std::string_view input;
  while (result.size() < 100000) {
    Pelorn::HTTPParser parser(bounds);
    ProtocolHTTP::Request request;
    bool hadHead = false;
    while (!parser.isDone()) {
      if (parser.parse(input) != 0)
        return result;
      if (parser.hasHead() && !hadHead) {
        hadHead = true;
        if (parser.takeHead(request) != 0)
          return result;
        check(request);
        if (!parser.isDone() && !parser.setBodyLimit(maxBody))
          return result;
        continue;
      }
      if (parser.isDone())
        break;
      pending = std::string(input) + std::string(bytes.substr(0, piece));
      if (bytes.empty())
        return result;
      bytes.remove_prefix(std::min(piece, bytes.size()));
      input = pending;
    }
    request.body = parser.takeBody();
    fuzz::require(request.body.size() <= maxBody);
    result += request.method + ' ' + request.path + '\n' + request.body + '\n';
  }
  return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  fuzz::Input input(bytes, size);
  const std::size_t piece = 1 + input.byte();
  const std::string stream = input.rest();
  const std::string whole = read(stream, stream.size() + 1);
  const std::string inPieces = read(stream, piece);
  fuzz::require(whole.starts_with(inPieces) || inPieces.starts_with(whole));
  return 0;
}
