#include <vantiflux/platform/xmlwrap/XMLWriter.h>

#include <set>
#include <vantiflux/platform/xmlwrap/SAXException.h>
#include <vantiflux/platform/xmlwrap/XMLText.h>

namespace XMLWrap {

namespace {

const std::string& nameOf(const std::string& localName, const std::string& qName) {
  return qName.empty() ? localName : qName;
}

std::string newLine(std::size_t depth) {
  std::string line(1 + 2 * depth, ' ');
  line[0] = '\n';
  return line;
}

std::string attributeText(const std::string& name, const std::string& value, std::set<std::string>& seen) {
  if (!isXMLName(name))
    throw SAXException("\"" + name + "\" cannot be the name of an attribute");
  if (!seen.insert(name).second)
    throw SAXException("The attribute \"" + name + "\" is given twice");
  if (!isXMLText(value))
    throw SAXException("The attribute \"" + name + "\" holds a character that XML cannot carry");
  return " " + name + "=\"" + escapeAttribute(value) + "\"";
}

} // namespace

XMLWriter::~XMLWriter() = default;

XMLWriter_XML::XMLWriter_XML(std::ostream& stream) : stream_(stream) {}
XMLWriter_XML::~XMLWriter_XML() = default;

void XMLWriter_XML::startDocument() {
  if (started_)
    throw SAXException("A document must start with its declaration");
  put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
}

void XMLWriter_XML::endDocument() {
  if (!open_.empty())
    throw SAXException("The element \"" + open_.back().qName + "\" is not closed");
  if (!rootSeen_)
    throw SAXException("A document must have an element");
  if (!stream_.flush())
    throw SAXException("The document cannot be written");
}

void XMLWriter_XML::startPrefixMapping(const std::string& prefix, const std::string& uri) {
  mappings_.emplace_back(prefix, uri);
}

void XMLWriter_XML::startElement(const std::string&, const std::string& localName, const std::string& qName,
                                 const Attributes& attributes) {
  const std::string& name = nameOf(localName, qName);
  if (!isXMLName(name))
    throw SAXException("\"" + name + "\" cannot be the name of an element");
  if (open_.empty() && rootSeen_)
    throw SAXException("A document cannot have a second outermost element");
  std::set<std::string> seen;
  std::string text = beginChild();
  text += "<" + name;
  for (const auto& [prefix, uri] : mappings_)
    text += attributeText(prefix.empty() ? "xmlns" : "xmlns:" + prefix, uri, seen);
  for (std::size_t i = 0; i < attributes.getLength(); ++i)
    text += attributeText(nameOf(attributes.getLocalName(i), attributes.getQName(i)), attributes.getValue(i), seen);
  put(text);
  childBegun();
  mappings_.clear();
  rootSeen_ = true;
  open_.push_back({name, true, !open_.empty() && open_.back().mixed});
}

void XMLWriter_XML::endElement(const std::string&, const std::string& localName, const std::string& qName) {
  const std::string& name = nameOf(localName, qName);
  if (open_.empty() || open_.back().qName != name)
    throw SAXException("The end of the element \"" + name + "\" has no start");
  std::string text;
  if (open_.back().empty) {
    text += "/>";
  } else {
    if (!open_.back().mixed)
      text += newLine(open_.size() - 1);
    text += "</" + name + ">";
  }
  put(open_.size() == 1 ? text + "\n" : text);
  open_.pop_back();
}

void XMLWriter_XML::characters(std::string_view text) {
  if (text.empty())
    return;
  if (open_.empty())
    throw SAXException("Text must stand in an element");
  if (!isXMLText(text))
    throw SAXException("A text in the element \"" + open_.back().qName + "\" holds a character that XML cannot carry");
  if (open_.back().empty)
    put(">");
  put(escapeText(text));
  childBegun();
  open_.back().mixed = true;
}

void XMLWriter_XML::processingInstruction(const std::string& target, const std::string& data) {
  const bool reserved =
      target.size() == 3 && (target[0] | 32) == 'x' && (target[1] | 32) == 'm' && (target[2] | 32) == 'l';
  if (!isXMLName(target) || target.find(':') != std::string::npos || reserved)
    throw SAXException("\"" + target + "\" cannot be the target of a processing instruction");
  if (!isXMLText(data) || data.find("?>") != std::string::npos)
    throw SAXException("The data of the processing instruction \"" + target + "\" cannot be written");
  put(beginChild() + "<?" + target + (data.empty() ? "" : " ") + data + "?>" + (open_.empty() ? "\n" : ""));
  childBegun();
}

/// What stands between the text so far and a new child of the innermost element.
std::string XMLWriter_XML::beginChild() const {
  if (open_.empty())
    return {};
  const Open& parent = open_.back();
  std::string text = parent.empty ? ">" : "";
  if (!parent.mixed)
    text += newLine(open_.size());
  return text;
}

void XMLWriter_XML::childBegun() {
  if (!open_.empty())
    open_.back().empty = false;
}

void XMLWriter_XML::put(const std::string& text) {
  started_ = true;
  if (!stream_.write(text.data(), static_cast<std::streamsize>(text.size())))
    throw SAXException("The document cannot be written");
}

} // namespace XMLWrap
