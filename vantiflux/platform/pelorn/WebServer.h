#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>
#include <vantiflux/platform/pelorn/WebClient.h>
#include <vantiflux/platform/pelorn/WebCredentials.h>
#include <vantiflux/platform/pelorn/WebLog.h>
#include <vantiflux/platform/pelorn/WebPage.h>

namespace Pelorn {

/// Answers requests from a table of pages, for whoever has the credentials. Where requests come from is the matter of
/// ThreadedWebServer.
///
/// | Status | for                                                                                              |
/// |--------|--------------------------------------------------------------------------------------------------|
/// | 400    | what is no request of HTTP/1.0 or 1.1, malformed percent codes                                   |
/// | 401    | missing or wrong credentials                                                                     |
/// | 403    | a request to change something that a browser marks as coming from another site                   |
/// | 404    | a path that is not in the table                                                                  |
/// | 405    | a method that the page does not know; HEAD, too, where a page changes something                  |
/// | 408    | a head or a body that comes too slowly                                                           |
/// | 413    | a body that is too long                                                                          |
/// | 431    | a head that is too long                                                                          |
/// | 500    | an exception that left a page                                                                    |
/// | 503    | a body or a reply that there is no memory for, beside those of other clients                     |
///
/// *Threads.* Pages and the name are set before the server is opened. All else from any thread, at any time.
class VANTIFLUX_API WebServer {
public:
  /// Bytes of a form: a state file of 64 MiB with what the form adds to it.
  static constexpr std::size_t maxForm = std::size_t{66} << 20;

  WebServer();
  virtual ~WebServer();
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;

  /// Sends the reply to a request that `check` let pass. May wait for locks, never for the client. 0 tells the server
  /// to end the connection, 1 or 2 to keep it.
  virtual unsigned handleRequest(WebClient& client, ProtocolHTTP::Request& request);
  /// Fills the reply from the table of pages. 1 when there is one to be sent.
  virtual int dispatch(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply);
  /// Takes an event into the log.
  virtual void addLog(const std::string& line);
  /// The event of a request that is answered with this status, by whomever.
  void logRequest(const WebClient& client, const ProtocolHTTP::Request& request, unsigned long status);
  /// How many bytes of a request's body are wanted: a longer one is refused. With 0 it is not read, and the connection
  /// ends with the reply.
  virtual std::size_t getBodyLimit(const ProtocolHTTP::Request& request) const;

  /// The status with which a request is refused before anybody looks at it, 0 when it is not. Every request passes
  /// here, those that are to become something else than HTTP too. A browser's question whether it may ask from another
  /// site (the preflight of CORS) needs no credentials.
  unsigned long check(const ProtocolHTTP::Request& request) const;
  /// Whether a browser marks the request as coming from another site than this one.
  static bool isFromAnotherSite(const ProtocolHTTP::Request& request);
  bool asksForCredentials() const { return !getUserId().empty() || !getPassword().empty(); }
  /// Fills the reply with a page for a failure. The text is shown below its name.
  void createErrorPage(unsigned long status, const std::string& text, ProtocolHTTP::Reply& reply) const;

  /// Enters a copy of the page under exactly that path, in place of an earlier one.
  void addPage(const std::string& path, const WebPage& page);
  /// The page that shows the log.
  int createLogPage(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply);

  const std::string& getName() const noexcept { return name_; }
  void setName(const std::string& name) { name_ = name; }
  int getLogSize() const { return log_.getSize(); }
  void setLogSize(int size) { log_.setSize(size); }
  std::string getUserId() const { return credentials_.getUserId(); }
  void setUserId(const std::string& userId) { credentials_.setUserId(userId); }
  std::string getPassword() const { return credentials_.getPassword(); }
  void setPassword(const std::string& password) { credentials_.setPassword(password); }

protected:
  /// What people are told that they log in to; empty: the name.
  void setRealm(const std::string& realm) { credentials_.setRealm(realm); }

private:
  const WebPage* findPage(const std::string& path) const;
  void fill(const ProtocolHTTP::Request& request, ProtocolHTTP::Reply& reply);

  std::string name_;
  std::unordered_map<std::string, std::unique_ptr<WebPage>> pages_; ///< by path
  WebCredentials credentials_;
  WebLog log_;
};

} // namespace Pelorn
