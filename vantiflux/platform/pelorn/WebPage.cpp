#include <vantiflux/platform/pelorn/WebPage.h>

#include <utility>

#include <vantiflux/platform/pelorn/HTTPText.h>

namespace Pelorn {

WebPage::~WebPage() = default;

WebPageStatic::WebPageStatic(const void* bytes, std::size_t size, std::string type, unsigned long status)
    : bytes_(static_cast<const char*>(bytes)), size_(size), type_(std::move(type)), status_(status) {}

int WebPageStatic::create(const ProtocolHTTP::Request&, ProtocolHTTP::Reply& reply) const {
  reply.status = status_;
  reply.headers.setParam("Content-Type", type_);
  reply.body.assign(bytes_, size_);
  return 1;
}

WebPageRedirection::WebPageRedirection(std::string target) : target_(std::move(target)) {}

int WebPageRedirection::create(const ProtocolHTTP::Request&, ProtocolHTTP::Reply& reply) const {
  const std::string target = HTTPText::escape(target_);
  reply.status = 302;
  reply.headers.setParam("Location", target_);
  reply.headers.setParam("Content-Type", "text/html; charset=utf-8");
  reply.body = "<!DOCTYPE html>\n<HTML><HEAD><TITLE>Moved</TITLE></HEAD><BODY><A HREF=\"" + target + "\">" + target +
               "</A></BODY></HTML>\n";
  return 1;
}

} // namespace Pelorn
