#pragma once

#include <functional>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace Pelorn {
class ThreadedWebServer;
}

namespace Vantiflux {

/// Shows the whole tree to a browser, and lets it be changed from there.
///
/// | Field      | Default |                                                                                         |
/// |------------|---------|-----------------------------------------------------------------------------------------|
/// | "Address"  | empty   | of the interface to listen on; all of them when empty                                   |
/// | "Port"     | 0       | to listen on; one that is free when 0                                                   |
/// | "UserId"   | empty   | asked for, as HTTP Basic authentication, when it or the password is not empty           |
/// | "Password" | empty   |                                                                                         |
/// | "LogSize"  | 0       | how many requests the page "/log.html" shows                                            |
///
/// Running while it listens, which is while it is enabled. The first two fields count when it is enabled the next time,
/// the others at once. An address that is a host name is looked up by a worker: the node is Sleeping until then.
///
/// *Threads.* A page looks at the tree, and changes it, with the root lock held, on a thread of the server. Pages may
/// remove the node itself, or load what replaces it: a request keeps the node until its reply is on the way, and
/// `disable` waits for no request that is still waiting for the root lock. Such a request finds the node disabled then:
/// it gets a page that says so, and its connection ends.
///
/// *Failure.* A server that cannot be opened sets the state Error, with the reason in the log.
class VANTIFLUX_API WebNode : public Node, public NodeDescription<WebNode> {
public:
  WebNode();
  ~WebNode() override;

  std::string getAddress() const { return address_.get(); }
  void setAddress(const std::string& address) { address_.set(address); }
  unsigned short getPort() const { return port_.get(); }
  void setPort(unsigned short port) { port_.set(port); }
  /// The one that is in fact bound, 0 when none is.
  unsigned short getActualPort() const;
  std::string getUserId() const;
  void setUserId(const std::string& userId);
  std::string getPassword() const;
  void setPassword(const std::string& password);
  int getLogSize() const;
  void setLogSize(int size);

  const NodeType* type() const override;

protected:
  void initialize() override;
  void shutdown() override;

private:
  using Request = Pelorn::ProtocolHTTP::Request;
  using Reply = Pelorn::ProtocolHTTP::Reply;
  using Handler = int (WebNode::*)(const Request&, Reply&);

  /// What the bar at the head of a page shows of where the page is.
  enum PageType {
    Start = 0, ///< nothing
    Here = 1,  ///< the page is about the namespace itself
    Below = 2, ///< the page is about something in it
  };

  class Gate;
  class TreeAccess;

  void addPages();
  void openServer(const std::string& address);
  void openByName();

  // The frame of all pages.
  void createHeader(const std::string& title, const std::string& space, PageType pageType, std::string& out);
  void createNamespaceBar(const std::string& space, PageType pageType, std::string& out);
  static void beginPlainPage(const std::string& title, std::string& out);
  static int sendPage(Reply& reply);
  static int createErrorPage(const std::string& prefix, const std::string& text, Reply& reply);
  static int redirect(const std::string& path, const std::string& space, Reply& reply);
  /// Makes a change under the lock, then sends the browser on to the page that shows it, or an error page.
  int change(const std::string& path, const std::string& space, const char* failure, Reply& reply,
             const std::function<void(Namespace&)>& operation);

  /// Throws Exception where a text of the query could be kept, but not be written to a file with the tree.
  static void checkTexts(const Request& request);

  int createMainPage(const Request& request, Reply& reply);
  int createNamespacePage(const Request& request, Reply& reply);
  int createSubNamespacesPage(const Request& request, Reply& reply);
  int createCreateNamespacePage(const Request& request, Reply& reply);
  int createRemoveNamespacePage(const Request& request, Reply& reply);
  int createNodePage(const Request& request, Reply& reply);
  int createNodeDetails(const std::string& path, Reply& reply);
  int createNodeTypePage(const Request& request, Reply& reply);
  int createNodeTypeForm(const std::string& name, const std::string& space, Reply& reply);
  int createCreateNodePage(const Request& request, Reply& reply);
  int createRoutePage(const Request& request, Reply& reply);
  int createAddRoutePage(const Request& request, Reply& reply);
  int createRemoveRoutePage(const Request& request, Reply& reply);
  int createExternalRoutePage(const Request& request, Reply& reply);
  int createAddExternalRoutePage(const Request& request, Reply& reply);
  int createRemoveExternalRoutePage(const Request& request, Reply& reply);
  int createSlotPage(Slot::Direction direction, const Request& request, Reply& reply);
  int createOutSlotPage(const Request& request, Reply& reply);
  int createInSlotPage(const Request& request, Reply& reply);
  int createCodecPage(const Request& request, Reply& reply);
  int createLoadPage(const Request& request, Reply& reply);
  int createSavePage(const Request& request, Reply& reply);

  const std::unique_ptr<Pelorn::ThreadedWebServer> server_;
  Setting<std::string> address_;
  Setting<unsigned short> port_;
  const std::shared_ptr<Gate> gate_;
  Pelorn::Notifier stopLookUp_;
  NodeWorker opener_;
};

} // namespace Vantiflux
