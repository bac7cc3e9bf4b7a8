#include <vantiflux/state/StateKeeperXMLHandler.h>

#include <utility>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>
#include <vantiflux/platform/xmlwrap/XMLReader.h>
#include <vantiflux/state/ParseException.h>

namespace Vantiflux {

// Around the deepest namespace stands the root element, in it one more element: the reader must let both pass, so that
// what can be loaded can also be saved and loaded again.
static_assert(StateKeeperXMLHandler::maxDepth + 2 <= XMLWrap::XMLReader::maxDepth);

namespace {

std::size_t depthOf(const Namespace& space) {
  std::size_t depth = 0;
  for (const Namespace* at = space.getParent(); at != nullptr; at = at->getParent())
    ++depth;
  return depth;
}

std::string attribute(const XMLWrap::Attributes& attributes, const char* name) {
  return attributes.getValue(std::string(), name);
}

} // namespace

StateKeeperXMLHandler::StateKeeperXMLHandler(Namespace& root, const Pelorn::URL& baseURL)
    : baseURL_(baseURL), root_(root), rootDepth_(depthOf(root)) {}

StateKeeperXMLHandler::~StateKeeperXMLHandler() = default;

void StateKeeperXMLHandler::startElement(const std::string& uri, const std::string& localName, const std::string&,
                                         const XMLWrap::Attributes& attributes) {
  if (ignoreDepth_ > 0) {
    ++ignoreDepth_;
    return;
  }
  // No element of ours has an XML namespace: those that have one are somebody else's.
  static const std::string foreign;
  const std::string& element = uri.empty() ? localName : foreign;
  switch (state_) {
  case Start:
    state_ = element == "Vantiflux" && attribute(attributes, "versionMajor") == "1" ? InRoot : Error;
    break;
  case InRoot:
  case InNamespace:
  case InNode:
    startContent(element, attributes);
    break;
  case InExternalRoute:
  case InRoute:
  case InParameter:
    ignoreDepth_ = 1;
    break;
  case End:
  case Error:
    state_ = Error;
    break;
  }
}

void StateKeeperXMLHandler::startContent(const std::string& element, const XMLWrap::Attributes& attributes) {
  if (element == "Parameter") {
    current().setFieldValue(attribute(attributes, "name"), attribute(attributes, "value"));
    state_ = InParameter;
  } else if (element == "Route") {
    current().addRoute(attribute(attributes, "from"), attribute(attributes, "to"));
    state_ = InRoute;
  } else if (element == "ExternalRoute") {
    current().addExternalRoute(attribute(attributes, "internal"), attribute(attributes, "external"));
    state_ = InExternalRoute;
  } else if (element == "Namespace") {
    checkDepth();
    open(attribute(attributes, "label"), std::make_unique<Namespace>());
    state_ = InNamespace;
  } else if (element == "Node" || element == "Backend") {
    checkDepth();
    open(attribute(attributes, "label"), NodeType::newInstance(attribute(attributes, "type")));
    state_ = InNode;
  } else {
    ignoreDepth_ = 1;
  }
}

void StateKeeperXMLHandler::checkDepth() const {
  if (rootDepth_ + stack_.size() >= maxDepth)
    throw ParseException("Namespaces are nested more than " + std::to_string(maxDepth) + " deep");
}

void StateKeeperXMLHandler::open(const std::string& label, std::unique_ptr<Namespace> child) {
  if (++opened_ > maxNamespaces)
    throw ParseException("The document holds more than " + std::to_string(maxNamespaces) + " namespaces and nodes");
  child->setBaseURL(baseURL_);
  stack_.push_back({label, std::move(child)});
}

void StateKeeperXMLHandler::endElement(const std::string&, const std::string&, const std::string&) {
  if (ignoreDepth_ > 0) {
    --ignoreDepth_;
    return;
  }
  switch (state_) {
  case Start:
  case End:
    state_ = Error;
    break;
  case InRoot:
    state_ = End;
    break;
  case InNamespace:
  case InNode:
    close();
    break;
  case InExternalRoute:
  case InRoute:
  case InParameter:
    state_ = stateOfCurrent();
    break;
  case Error:
    break;
  }
}

// Off the stack before it is added: its enabling may throw, and it belongs to the parent by then.
void StateKeeperXMLHandler::close() {
  LabeledNamespace closed = std::move(stack_.back());
  stack_.pop_back();
  state_ = stateOfCurrent();
  current().addNamespace(closed.label, std::move(closed.space));
}

StateKeeperXMLHandler::State StateKeeperXMLHandler::stateOfCurrent() const {
  if (stack_.empty())
    return InRoot;
  return dynamic_cast<const Node*>(stack_.back().space.get()) != nullptr ? InNode : InNamespace;
}

} // namespace Vantiflux
