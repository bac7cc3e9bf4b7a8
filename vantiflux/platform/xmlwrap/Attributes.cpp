#include <vantiflux/platform/xmlwrap/Attributes.h>

namespace XMLWrap {

Attributes::~Attributes() = default;
AttributesImpl::~AttributesImpl() = default;

std::string Attributes::getValue(const std::string& uri, const std::string& localName) const {
  const std::size_t index = find(uri, localName);
  return index < getLength() ? getValue(index) : std::string();
}

bool Attributes::hasValue(const std::string& uri, const std::string& localName) const {
  return find(uri, localName) < getLength();
}

std::size_t Attributes::find(const std::string& uri, const std::string& localName) const {
  std::size_t index = 0;
  while (index < getLength() && (getLocalName(index) != localName || getURI(index) != uri))
    ++index;
  return index;
}

void AttributesImpl::addAttribute(const std::string& uri, const std::string& localName, const std::string& qName,
                                  const std::string& type, const std::string& value) {
  entries_.push_back({uri, localName, qName, type, value});
}

} // namespace XMLWrap
