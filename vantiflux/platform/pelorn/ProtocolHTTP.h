#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>
#include <vantiflux/platform/config/ParamBag.h>
#include <vantiflux/platform/pelorn/HTTPHeaders.h>

namespace Pelorn {

/// HTTP/1.0 and 1.1 from the server's side: the form of requests and replies, and one client's connection as far as who
/// answers a request needs it.
class VANTIFLUX_API ProtocolHTTP {
public:
  struct VANTIFLUX_API Request {
    std::string protocol = "HTTP";
    unsigned majorVersion = 1;
    unsigned minorVersion = 1;
    std::string method;
    std::string path;       ///< as it was sent, with its percent codes, without the query
    Config::ParamBag query; ///< decoded; of two values of one name, the last
    HTTPHeaders headers;
    std::string body; ///< as far as who answers wanted it (see WebServer::getBodyLimit)

    /// Whether the client's words allow another request on this connection.
    bool keepsAlive() const;
  };

  struct VANTIFLUX_API Reply {
    std::string protocol = "HTTP";
    unsigned majorVersion = 1;
    unsigned minorVersion = 1;
    unsigned long status = 200;
    std::string reason; ///< empty: that of the status
    HTTPHeaders headers;
    std::string body;
  };

  virtual ~ProtocolHTTP();

  /// Copies the next `size` bytes of the body of the request that is being answered, which has been received by then as
  /// far as it was wanted (see WebServer::getBodyLimit): this waits for nobody. False, with their number in `size`,
  /// when there are fewer.
  virtual bool receiveBody(unsigned char* buffer, int& size) = 0;

  /// Sends the one reply to a request: head and body in one write, as far as the client takes them; the rest goes out
  /// when it does, and nobody waits for that. A request for the head alone gets no body. Adds the length, the date and
  /// the server's name where they are missing. False when the connection is lost, or the request has its reply already.
  virtual bool sendReply(const Reply& reply) = 0;
  virtual bool sendReply(Reply&& reply) = 0;

  /// Name and value pairs for a URL, the texts percent-encoded: "a=b&c=d".
  static std::string createQuery(const Config::ParamBag& params);
  /// The reverse. False for malformed percent codes.
  static bool parseQuery(std::string_view query, Config::ParamBag& params);

  /// Takes a header's value apart that is a token with parameters, as `form-data; name="file"`. Token and names are
  /// given in lower case. False when it is malformed; what was read up to there is given all the same.
  static bool parseTokenAndParameters(const std::string& text, std::string& token, Config::ParamBag& parameters);

  /// "Not Found"; "Unknown" for a number that means nothing.
  static const char* getStatusPhrase(unsigned long status);
  /// The form of dates in headers.
  static std::string createTimestamp(std::time_t time);
};

} // namespace Pelorn
