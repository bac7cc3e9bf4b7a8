#include <vantiflux/web/WebNode.h>

#include <iterator>
#include <stdexcept>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/pelorn/Lookup.h>
#include <vantiflux/platform/pelorn/ThreadedWebServer.h>
#include <vantiflux/platform/tarsil/Console.h>
#include <vantiflux/web/Icon.h>
#include <vantiflux/web/StyleSheet.h>
#include <vantiflux/web/WebNodeGate.h>
#include <vantiflux/web/rest/RESTInterceptor.h>

namespace Vantiflux {

using N = WebNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Web";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Allows control of the Vantiflux system via web browsers.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Shows namespaces, nodes, routes, slots and codecs to a browser, creates and removes them, and saves and loads "
    "them as files.";
template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("Address",
                "Address of the network interface the server listens for clients. When you do not specify this "
                "parameter, the server listens at the default network interface.",
                "", &N::setAddress, &N::getAddress),
    fieldRow<N>("Port",
                "Port the server listens for clients. When you do not specify this parameter, the server automatically "
                "chooses an available port.",
                "0", &N::setPort, &N::getPort),
    fieldRow<N>("UserId", "User id you have to enter before you are allowd to access the web interface.", "",
                &N::setUserId, &N::getUserId),
    fieldRow<N>("Password", "Password you have to enter before you are allowed to access the web interface.", "",
                &N::setPassword, &N::getPassword),
    fieldRow<N>("LogSize", "Number of events that get logged by the web server.", "0", &N::setLogSize, &N::getLogSize),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* WebNode::type() const {
  return &type_;
}

WebNode::WebNode()
    : server_(std::make_unique<REST::RESTInterceptor>()), gate_(std::make_shared<Gate>()),
      opener_(*this, [this] { openByName(); }) {
  server_->setName("Vantiflux");
  server_->setKeeper([gate = gate_] { return gate->enter(); });
  addPages();
}

// Requests keep the node, so none is left when the server goes.
WebNode::~WebNode() {
  disable();
  const TreeLock lock;
  opener_.stop([this] { stopLookUp_.signal(); });
}

void WebNode::addPages() {
  using Pelorn::WebPage;
  const auto add = [this](const char* path, Handler handler, WebPage::Kind kind = WebPage::Kind::Shows) {
    server_->addPage(path, Pelorn::WebPageObject<WebNode>(this, handler, kind));
  };
  constexpr auto changes = WebPage::Kind::Changes;
  server_->addPage("/", Pelorn::WebPageRedirection("/index.html"));
  add("/index.html", &WebNode::createMainPage);
  add("/Namespace.html", &WebNode::createNamespacePage);
  add("/SubNamespaces.html", &WebNode::createSubNamespacesPage);
  add("/CreateNamespace.html", &WebNode::createCreateNamespacePage, changes);
  add("/RemoveNamespace.html", &WebNode::createRemoveNamespacePage, changes);
  add("/Nodes.html", &WebNode::createNodePage);
  add("/NodeTypes.html", &WebNode::createNodeTypePage, changes); // it may load a plug-in
  add("/CreateNode.html", &WebNode::createCreateNodePage, changes);
  add("/RemoveNode.html", &WebNode::createRemoveNamespacePage, changes);
  add("/Routes.html", &WebNode::createRoutePage);
  add("/AddRoute.html", &WebNode::createAddRoutePage, changes);
  add("/RemoveRoute.html", &WebNode::createRemoveRoutePage, changes);
  add("/ExternalRoutes.html", &WebNode::createExternalRoutePage);
  add("/AddExternalRoute.html", &WebNode::createAddExternalRoutePage, changes);
  add("/RemoveExternalRoute.html", &WebNode::createRemoveExternalRoutePage, changes);
  add("/OutSlots.html", &WebNode::createOutSlotPage);
  add("/InSlots.html", &WebNode::createInSlotPage);
  add("/Codecs.html", &WebNode::createCodecPage);
  add("/Load", &WebNode::createLoadPage, WebPage::Kind::TakesForm);
  add("/Save", &WebNode::createSavePage);
  server_->addPage("/log.html",
                   Pelorn::WebPageObject<Pelorn::WebServer>(server_.get(), &Pelorn::WebServer::createLogPage));
  server_->addPage("/Style.css", Pelorn::WebPageStatic(styleSheet.data(), styleSheet.size(), "text/css"));
  server_->addPage("/favicon.ico", Pelorn::WebPageStatic(icon.data(), icon.size(), "image/x-icon"));
}

unsigned short WebNode::getActualPort() const {
  return server_->getSocketAddress().getServicePort();
}

std::string WebNode::getUserId() const {
  return server_->getUserId();
}

void WebNode::setUserId(const std::string& userId) {
  server_->setUserId(userId);
}

std::string WebNode::getPassword() const {
  return server_->getPassword();
}

void WebNode::setPassword(const std::string& password) {
  server_->setPassword(password);
}

int WebNode::getLogSize() const {
  return server_->getLogSize();
}

void WebNode::setLogSize(int size) {
  server_->setLogSize(size);
}

// The lock of structure is held, so only an address that nobody has to be asked for is opened at once.
void WebNode::initialize() {
  Node::initialize();
  setShortInfo("");
  gate_->open(*this);
  if (Pelorn::InetAddress::needsLookUp(getAddress()))
    opener_.start([this] {
      stopLookUp_.clear();
      return true;
    });
  else
    openServer(getAddress());
}

void WebNode::openByName() {
  const std::string name = getAddress();
  const Pelorn::InetAddress address = Pelorn::lookUpAddress(name, Pelorn::Deadline(Pelorn::lookUpTime), &stopLookUp_);
  if (!opener_.isRunning())
    return;
  if (!address.isValid())
    addLog("Cannot find the host " + name);
  openServer(address.isValid() ? address.getHostAddress() : name);
}

void WebNode::openServer(const std::string& address) {
  try {
    if (Pelorn::InetAddress::needsLookUp(address))
      throw std::runtime_error("unknown host");
    server_->open(address, getPort(), "", "");
    const Pelorn::SocketAddress bound = server_->getSocketAddress();
    const std::string host = bound.getAddress().isAny() ? Pelorn::InetAddress::getLocalHostName() : bound.getHostName();
    const std::string where = " listening on " + host + ":" + std::to_string(bound.getServicePort());
    Tarsil::printLine("WebNode" + where);
    setState(Running, "Webserver" + where);
  } catch (const std::exception& e) {
    setState(Error, "Cannot open web server");
    addLog(e.what());
    Tarsil::printErrorLine("ERROR: Cannot open web server");
  }
}

void WebNode::shutdown() {
  {
    const TreeLock lock;
    opener_.stop([this] { stopLookUp_.signal(); });
  }
  gate_->close();
  try {
    server_->close();
  } catch (const Pelorn::IOException&) { // it is closed as far as it can be
  }
  Node::shutdown();
}

} // namespace Vantiflux
