#include <vantiflux/state/StateKeeperXML.h>

#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <vantiflux/core/Node.h>
#include <vantiflux/core/TreeLock.h>
#include <vantiflux/platform/xmlwrap/Attributes.h>
#include <vantiflux/platform/xmlwrap/SAXException.h>
#include <vantiflux/platform/xmlwrap/XMLReader.h>
#include <vantiflux/state/OpenDocument.h>
#include <vantiflux/state/ParseException.h>
#include <vantiflux/state/StateKeeperXMLHandler.h>

namespace Vantiflux {

namespace {

const std::string noURI;

void add(XMLWrap::AttributesImpl& attributes, const char* name, const std::string& value) {
  attributes.addAttribute(noURI, name, name, "CDATA", value);
}

/// Writes one tree. Remembers where it is, so that a failure can be told together with its place.
class Saver {
public:
  explicit Saver(XMLWrap::XMLWriter& writer) : writer_(writer) {}

  void save(const Namespace& space) try { contents(space); } catch (const XMLWrap::SAXException& e) {
    throw XMLWrap::SAXException("Cannot save \"" + path() + "\": " + e.getMessage());
  }

private:
  // With `element` once for each level of the tree, on a stack that may be small: what else they need stands in calls
  // of its own, which are not to be made part of them.
  void contents(const Namespace& space) {
    if (!space.saveState())
      return;
    if (path_.size() > StateKeeperXMLHandler::maxDepth)
      refuseDepth();
    fields(space);
    rules(space);
    for (Namespace* const child : space.getNamespaces())
      element(*child);
  }

  [[noreturn, gnu::noinline]] static void refuseDepth() {
    throw XMLWrap::SAXException("Namespaces are nested more than " + std::to_string(StateKeeperXMLHandler::maxDepth) +
                                " deep");
  }

  [[gnu::noinline]] void fields(const Namespace& space) {
    std::vector<std::string> names;
    space.getFieldNames(names);
    for (const std::string& name : names)
      empty("Parameter", "name", name, "value", space.getFieldValue(name));
  }

  [[gnu::noinline]] void rules(const Namespace& space) {
    std::vector<Route> routes;
    space.getRoutes(routes);
    for (const Route& route : routes)
      empty("Route", "from", route.from, "to", route.to);
    for (const auto& [internal, external] : externalRoutes(space))
      empty("ExternalRoute", "internal", internal, "external", external);
  }

  // Both texts of each. The routes themselves may go when nobody holds the lock of structure.
  static std::vector<std::pair<std::string, std::string>> externalRoutes(const Namespace& space) {
    std::vector<std::pair<std::string, std::string>> texts;
    const TreeLock lock;
    std::vector<ExternalRoute*> routes;
    space.getExternalRoutes(routes);
    texts.reserve(routes.size());
    for (const ExternalRoute* const route : routes)
      texts.emplace_back(route->getInternal(), route->getExternal());
    return texts;
  }

  // A node without a type cannot be made again; as a plain namespace it does not keep the rest from being loaded.
  void element(const Namespace& child) {
    path_.push_back(&child.getLabel());
    const auto* const node = dynamic_cast<const Node*>(&child);
    const NodeType* const type = node == nullptr ? nullptr : node->type();
    const std::string name = type == nullptr ? "Namespace" : "Node";
    start(name, child, type);
    contents(child);
    writer_.endElement(noURI, name, name);
    path_.pop_back();
  }

  [[gnu::noinline]] void start(const std::string& name, const Namespace& child, const NodeType* type) {
    XMLWrap::AttributesImpl attributes;
    add(attributes, "label", child.getLabel());
    if (type != nullptr)
      add(attributes, "type", type->getName());
    writer_.startElement(noURI, name, name, attributes);
  }

  void empty(const std::string& element, const char* name1, const std::string& value1, const char* name2,
             const std::string& value2) {
    XMLWrap::AttributesImpl attributes;
    add(attributes, name1, value1);
    add(attributes, name2, value2);
    writer_.startElement(noURI, element, element, attributes);
    writer_.endElement(noURI, element, element);
  }

  std::string path() const {
    std::string result;
    for (const std::string* const label : path_)
      result += (result.empty() ? "" : "/") + *label;
    return result;
  }

  XMLWrap::XMLWriter& writer_;
  std::vector<const std::string*> path_; ///< labels of the open elements
};

} // namespace

ParseException::~ParseException() = default;

void StateKeeperXML::save(Namespace& space, std::ostream& stream) {
  std::ostringstream document;
  {
    XMLWrap::XMLWriter_XML writer(document);
    writer.startDocument();
    const std::string name = "Vantiflux";
    XMLWrap::AttributesImpl attributes;
    add(attributes, "versionMajor", "1");
    add(attributes, "versionMinor", "0");
    writer.startElement(noURI, name, name, attributes);
    save(space, writer);
    writer.endElement(noURI, name, name);
  }
  if (document.view().size() > XMLWrap::XMLReader::maxDocument)
    throw XMLWrap::SAXException("The document is longer than " + std::to_string(XMLWrap::XMLReader::maxDocument) +
                                " bytes: it could not be loaded again");
  if (!(stream << document.view()).flush())
    throw XMLWrap::SAXException("The document cannot be written");
}

void StateKeeperXML::save(Namespace& space, XMLWrap::XMLWriter& writer) {
  Saver(writer).save(space);
}

void StateKeeperXML::load(Namespace& space, std::istream& stream) {
  StateKeeperXMLHandler handler(space);
  space.clear();
  load(&handler, stream);
}

void StateKeeperXML::load(Namespace& space, const Pelorn::URL& url) {
  load(space, *url.open(), url);
}

void StateKeeperXML::load(Namespace& space, std::istream& stream, const Pelorn::URL& url) {
  const OpenDocument document(url);
  StateKeeperXMLHandler handler(space, url);
  space.clear();
  load(&handler, stream);
}

void StateKeeperXML::load(StateKeeperXMLHandler* handler, std::istream& stream) {
  try {
    const auto reader = XMLWrap::XMLReaderFactory::createXMLReader();
    reader->setContentHandler(handler);
    reader->parse(stream);
  } catch (const XMLWrap::SAXException& e) {
    throw ParseException(e.getMessage());
  }
  if (handler->getState() != StateKeeperXMLHandler::End)
    throw ParseException("Parse error");
}

} // namespace Vantiflux
