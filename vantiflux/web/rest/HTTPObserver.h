#pragma once

#include <string>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/web/rest/VCType.h>

namespace REST {

/// Acts on one request, by its method: GET without a query reads, POST writes, DELETE takes observers out of the list.
/// All others do nothing. All operations throw what the resource throws.
class VANTIFLUX_API HTTPObserver {
public:
  using Request = Pelorn::ProtocolHTTP::Request;
  using Reply = Pelorn::ProtocolHTTP::Reply;

  /// Does all of it.
  HTTPObserver(Reply& reply, const Request& request, boost::shared_ptr<VCType> resource, const std::string& format,
               bool data);

  void replyGET(Reply& reply, bool data);
  void replyPUT(Reply& reply, const std::string& body);
  void replyPOST(Reply& reply, const std::string& body);
  void replyDELETE(Reply& reply);

private:
  const boost::shared_ptr<VCType> resource_;
  const std::string format_;
};

} // namespace REST
