#include <vantiflux/platform/xmlwrap/ContentHandler.h>

namespace XMLWrap {

ContentHandler::~ContentHandler() = default;
void ContentHandler::startDocument() {}
void ContentHandler::endDocument() {}
void ContentHandler::startPrefixMapping(const std::string&, const std::string&) {}
void ContentHandler::endPrefixMapping(const std::string&) {}
void ContentHandler::startElement(const std::string&, const std::string&, const std::string&, const Attributes&) {}
void ContentHandler::endElement(const std::string&, const std::string&, const std::string&) {}
void ContentHandler::characters(std::string_view) {}
void ContentHandler::processingInstruction(const std::string&, const std::string&) {}

} // namespace XMLWrap
