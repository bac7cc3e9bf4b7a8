#include <vantiflux/platform/xmlwrap/SAXException.h>

#include <utility>

namespace XMLWrap {

SAXException::SAXException(std::string message) : message_(std::move(message)) {}

SAXException::SAXException(const std::string& message, unsigned long line, unsigned long column)
    : message_(message + " (line " + std::to_string(line) + ", column " + std::to_string(column) + ")"), line_(line),
      column_(column) {}

SAXException::~SAXException() = default;

} // namespace XMLWrap
