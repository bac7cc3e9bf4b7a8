#include <vantiflux/platform/pelorn/ReplyHead.h>

#include <ctime>
#include <string_view>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

namespace {

// Each thread makes the text once a second.
const std::string& currentDate() {
  static thread_local std::time_t last = 0;
  static thread_local std::string text;
  const std::time_t now = std::time(nullptr);
  if (now != last || text.empty()) {
    text = HTTPText::date(now);
    last = now;
  }
  return text;
}

bool hasBody(unsigned long status) {
  return status >= 200 && status != 204 && status != 304;
}

} // namespace

std::string replyHead(const ProtocolHTTP::Reply& reply, std::size_t length, const std::string& server, bool close) {
  std::string head;
  head.reserve(512);
  head += reply.protocol + '/' + std::to_string(reply.majorVersion) + '.' + std::to_string(reply.minorVersion) + ' ' +
          std::to_string(reply.status) + ' ';
  head += reply.reason.empty() ? ProtocolHTTP::getStatusPhrase(reply.status) : reply.reason.c_str();
  head += "\r\n";
  const auto add = [&head](std::string_view name, std::string_view value) {
    head.append(name).append(": ");
    for (const char c : value) // a line end in a value would begin another header
      head += static_cast<unsigned char>(c) < ' ' ? ' ' : c;
    head += "\r\n";
  };
  for (const Config::Param& header : reply.headers.getParams())
    if (!close || !HTTPText::equal(header.first, "Connection"))
      add(header.first, header.second);
  if (close)
    add("Connection", "close");
  if (hasBody(reply.status) && !reply.headers.hasParam("Content-Length"))
    add("Content-Length", std::to_string(length));
  if (!reply.headers.hasParam("Date"))
    add("Date", currentDate());
  if (!reply.headers.hasParam("Server") && !server.empty())
    add("Server", server);
  head += "\r\n";
  return head;
}

} // namespace Pelorn
