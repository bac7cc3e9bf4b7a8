#pragma once

#include <string>
#include <string_view>
#include <vantiflux/Export.h>
#include <vantiflux/platform/xmlwrap/Attributes.h>

namespace XMLWrap {

/// Receives a document as a sequence of events. The defaults do nothing. All texts are UTF-8.
///
/// An exception thrown here ends the parse and leaves `XMLReader::parse` unchanged.
class VANTIFLUX_API ContentHandler {
public:
  virtual ~ContentHandler();

  virtual void startDocument();
  /// Only after a document without an error.
  virtual void endDocument();
  /// Around the element that declares the prefix; the empty prefix is the default namespace.
  virtual void startPrefixMapping(const std::string& prefix, const std::string& uri);
  virtual void endPrefixMapping(const std::string& prefix);
  virtual void startElement(const std::string& uri, const std::string& localName, const std::string& qName,
                            const Attributes& attributes);
  virtual void endElement(const std::string& uri, const std::string& localName, const std::string& qName);
  /// A piece of text; one run of text may come in several pieces.
  virtual void characters(std::string_view text);
  virtual void processingInstruction(const std::string& target, const std::string& data);
};

} // namespace XMLWrap
