#include <vantiflux/platform/pelorn/HTTPParser.h>

#include <iterator>
#include <limits>

#include <vantiflux/platform/pelorn/WebLimits.h>

namespace Pelorn {

namespace {

namespace http = boost::beast::http;

unsigned long statusOf(const boost::beast::error_code& error) {
  if (error == http::error::header_limit)
    return 431;
  if (error == http::error::body_limit)
    return 413;
  return 400;
}

std::string_view view(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

} // namespace

HTTPParser::HTTPParser(const WebLimits& limits) : limits_(limits) {
  parser_.header_limit(static_cast<std::uint32_t>(limits.head) + 1);
  parser_.body_limit(std::numeric_limits<std::uint64_t>::max()); // set when it is known what the request is for
}

// The parser's own limit is one for what it has not used yet, so it never gets to see more than there may be.
unsigned long HTTPParser::parse(std::string_view& input) {
  while (!input.empty() && !isDone()) {
    const bool inHead = !hasHead();
    const std::string_view shown = inHead ? input.substr(0, limits_.head - headSize_) : input;
    boost::beast::error_code error;
    const std::size_t used = parser_.put(boost::asio::const_buffer(shown.data(), shown.size()), error);
    input.remove_prefix(used);
    headSize_ += inHead ? used : 0;
    if (error == http::error::need_more) // it takes lines whole, those between the pieces of a body too
      return (inHead ? headSize_ : 0) + input.size() >= limits_.head ? 431 : 0;
    if (error)
      return statusOf(error);
    if (inHead)
      return 0;
  }
  return 0;
}

unsigned long HTTPParser::takeHead(ProtocolHTTP::Request& request) {
  const auto& head = parser_.get();
  if (static_cast<std::size_t>(std::distance(head.begin(), head.end())) > limits_.headers)
    return 431;
  request.method = std::string(view(head.method_string()));
  request.majorVersion = head.version() / 10;
  request.minorVersion = head.version() % 10;
  for (const auto& field : head)
    request.headers.addParam(view(field.name_string()), view(field.value()));
  std::string_view target = view(head.target());
  if (const std::size_t scheme = target.find("://"); scheme != std::string_view::npos && target.front() != '/')
    target.remove_prefix(std::min(target.find('/', scheme + 3), target.size())); // as proxies ask
  const std::size_t question = std::min(target.find('?'), target.size());
  request.path = target.substr(0, question);
  if (request.path.empty())
    request.path = "/";
  return ProtocolHTTP::parseQuery(target.substr(std::min(question + 1, target.size())), request.query) ? 0 : 400;
}

bool HTTPParser::setBodyLimit(std::size_t limit) {
  parser_.body_limit(limit);
  const auto length = parser_.content_length();
  return !length || *length <= limit;
}

} // namespace Pelorn
