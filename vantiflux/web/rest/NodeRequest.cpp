#include <vantiflux/web/rest/NodeRequest.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <stdexcept>
#include <utility>
#include <vector>

#include <vantiflux/core/Root.h>
#include <vantiflux/web/rest/NumberText.h>
#include <vantiflux/web/rest/URLPath.h>
#include <vantiflux/web/rest/VCElement.h>

namespace REST {

using namespace Vantiflux;

namespace {

/// A walk along the components of a path, which does not go beyond its end.
class Components {
public:
  Components(boost::filesystem::path::iterator at, const boost::filesystem::path& path)
      : at_(std::move(at)), end_(path.end()) {}

  bool atEnd() const { return at_ == end_ || pathAtEnd(at_); }
  /// Empty at the end.
  std::string text() const { return at_ == end_ ? std::string() : toStr(at_); }
  void advance() {
    if (at_ != end_)
      ++at_;
  }
  Components next() const {
    Components next = *this;
    next.advance();
    return next;
  }

private:
  boost::filesystem::path::iterator at_;
  boost::filesystem::path::iterator end_;
};

/// Null for a component that names none.
Namespace* findChild(const std::string& name, Namespace* parent) {
  const std::int32_t index = readNumber<std::int32_t>(name).value_or(-1);
  try {
    return index == -1 ? findName(name, parent) : findAddress(static_cast<unsigned long>(index), parent);
  } catch (const std::exception&) {
    return nullptr;
  }
}

/// The namespace where the walk ends, null when not even the first component names one.
Namespace* walk(Components& at, NodeRequest& request) {
  Namespace* current = nullptr;
  for (;;) {
    at.advance();
    if (at.atEnd())
      return current;
    request.name = at.text();
    if (at.next().atEnd())
      mimetype(std::string(request.name), request.name, request.extension);
    Namespace* const found = findChild(request.name, current);
    if (found == nullptr)
      return current;
    current = found;
    if (found->getNamespaces().empty())
      return current;
  }
}

void readLastWord(const std::string& component, NodeRequest& request) {
  std::string word;
  std::string format;
  mimetype(component, word, format);
  if (word == "data") {
    request.data = true;
    request.extension = "data." + format;
  } else if (word == "desc") {
    request.extension = format;
  } else {
    throw std::runtime_error("Wrong request type");
  }
}

/// Puts a name in the place of a number that counts attributes. A number that is too large stays, and names none.
void resolveIndex(NodeRequest& request) {
  const std::optional<std::uint64_t> index = readNumber<std::uint64_t>(request.attribute);
  if (!index.has_value())
    return;
  const VCElement element(request.node);
  if (*index < element.getAttributes().size())
    request.attribute = element.getAttributes()[*index];
}

} // namespace

NodeRequest findMixed(const boost::filesystem::path::iterator& method, const boost::filesystem::path& path) {
  NodeRequest request;
  Components at(method, path);
  request.node = dynamic_cast<Node*>(walk(at, request));
  if (request.node == nullptr)
    throw std::runtime_error("Couldn't find node '" + at.text() + "'");
  at.advance();
  if (at.atEnd())
    return request;
  mimetype(at.text(), request.attribute, request.extension);
  const Components last = at.next();
  if (request.extension.empty() && !last.atEnd())
    readLastWord(last.text(), request);
  resolveIndex(request);
  return request;
}

Namespace* findName(const std::string& name, Namespace* parent) {
  return (parent == nullptr ? &Root::the() : parent)->getNamespace(name);
}

Namespace* findAddress(unsigned long index, Namespace* parent) {
  const std::vector<Namespace*> children = (parent == nullptr ? &Root::the() : parent)->getNamespaces();
  if (index >= children.size())
    throw std::runtime_error("Invalid index " + std::to_string(index));
  return children[index];
}

} // namespace REST
