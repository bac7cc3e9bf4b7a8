#include <vantiflux/web/rest/VCType.h>

#include <algorithm>

#include <vantiflux/core/InvalidNamespaceException.h>
#include <vantiflux/core/Root.h>

namespace REST {

using namespace Vantiflux;

VCType::VCType(Node* node) : node_(node) {
  for (const Namespace* at = node; at != nullptr && at != &Root::the(); at = at->getParent())
    path_.push_back(at->getLabel());
  std::reverse(path_.begin(), path_.end());
}

VCType::~VCType() = default;

void VCType::desc(Reply& reply, const std::string& format) {
  if (format.empty() || format == "json")
    toJSON(reply);
  else if (format == "xml")
    toXML(reply);
}

Node* VCType::findNode() const {
  Namespace* at = &Root::the();
  try {
    for (const std::string& label : path_)
      at = at->getNamespace(label);
  } catch (const InvalidNamespaceException&) {
    return nullptr;
  }
  return dynamic_cast<Node*>(at);
}

std::string commaSeparate(const std::vector<std::string>& items) {
  std::string text;
  for (const std::string& item : items) {
    if (!text.empty())
      text += ", ";
    text += '"' + item + '"';
  }
  return text;
}

} // namespace REST
