#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vantiflux/Export.h>
#include <vantiflux/platform/xmlwrap/ContentHandler.h>
#include <vector>

namespace XMLWrap {

/// Takes a document as events, the same that a reader gives.
class VANTIFLUX_API XMLWriter : public ContentHandler {
public:
  ~XMLWriter() override;
};

/// Writes XML 1.0 in UTF-8, two blanks a level, an element without content as `<x/>`.
///
/// Every text that XML can carry reads back the same, line ends and tabs in attributes included. What it cannot carry
/// (control characters other than tab, line feed and carriage return, bytes that are not UTF-8, U+FFFE and U+FFFF), a
/// malformed or repeated name, or an end that does not match makes `SAXException`, before any of that event is written:
/// what is written can always be read back. A stream that refuses output makes `SAXException` too.
///
/// Where an element holds text, nothing is indented, so that the text stays as it is. Prefixes are written as the
/// qualified names give them; declaring them is up to `startPrefixMapping`.
class VANTIFLUX_API XMLWriter_XML : public XMLWriter {
public:
  /// The stream must outlive the writer.
  explicit XMLWriter_XML(std::ostream& stream);
  ~XMLWriter_XML() override;

  /// The XML declaration.
  void startDocument() override;
  /// Ends the output; optional. Throws when an element is still open.
  void endDocument() override;
  void startPrefixMapping(const std::string& prefix, const std::string& uri) override;
  void startElement(const std::string& uri, const std::string& localName, const std::string& qName,
                    const Attributes& attributes) override;
  void endElement(const std::string& uri, const std::string& localName, const std::string& qName) override;
  void characters(std::string_view text) override;
  void processingInstruction(const std::string& target, const std::string& data) override;

private:
  struct Open {
    std::string qName;
    bool empty = true;  // its start tag still lacks the end
    bool mixed = false; // it holds text, or an element around it does
  };

  std::string beginChild() const;
  void childBegun();
  void put(const std::string& text);

  std::ostream& stream_;
  std::vector<Open> open_;
  std::vector<std::pair<std::string, std::string>> mappings_; // prefix and URI for the next element
  bool started_ = false;                                      // something has been written
  bool rootSeen_ = false;
};

} // namespace XMLWrap
