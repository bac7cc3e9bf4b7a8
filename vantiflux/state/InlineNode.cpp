#include <vantiflux/state/InlineNode.h>

#include <vantiflux/core/FieldAccessor.h>
#include <vantiflux/platform/pelorn/URL.h>
#include <vantiflux/platform/pelorn/URLImpl.h>
#include <vantiflux/state/OpenDocument.h>
#include <vantiflux/state/StateKeeperXML.h>

namespace Vantiflux {

const char* const InlineNode::typeName_ = "Inline";
const char* const InlineNode::author_ = "The Vantiflux developers";
const char* const InlineNode::shortDescription_ = "Allows to load a namespace from a file.";
const char* const InlineNode::longDescription_ =
    "Takes the contents of a saved namespace file into the tree, in the place of this node, when it is enabled. The "
    "contents are not saved with the tree.";
Field InlineNode::fields_[] = {
    Field("URL", "URL of the file we read the namespace from", "",
          FieldAccessor<InlineNode, std::string>(&InlineNode::setURL, &InlineNode::getURL)),
};
NodeType InlineNode::type_(typeName_, &InlineNode::create, author_, shortDescription_, longDescription_, fields_, 1);

Node* InlineNode::create() {
  return new InlineNode;
}

InlineNode::InlineNode() = default;

InlineNode::~InlineNode() {
  disable();
}

std::string InlineNode::getURL() const {
  const std::lock_guard guard(urlLock_);
  return url_;
}

void InlineNode::setURL(const std::string& url) {
  const std::lock_guard guard(urlLock_);
  url_ = url;
}

void InlineNode::initialize() {
  Node::initialize();
  setShortInfo("");
  try {
    const Pelorn::URL url = Pelorn::URL::parse(getURL(), getBaseURL());
    const std::string document = OpenDocument::identityOf(url);
    const std::string wrong = objection(document);
    if (!wrong.empty()) {
      setState(Error, wrong);
      addLog(url.toString() + ": " + wrong);
      return;
    }
    StateKeeperXML::load(*this, url);
    document_ = document;
    setState(Running);
  } catch (const Pelorn::URLImpl::Exception& e) {
    setState(Error);
    addLog(e.what());
  }
}

// The nodes in a file are initialised after the file has been loaded, or while it is still being loaded into a tree
// that is enabled: both the nodes above this one and the documents that this thread is loading tell where it stands.
std::string InlineNode::objection(const std::string& document) const {
  if (OpenDocument::isOpen(document))
    return "The file includes itself";
  std::size_t nesting = 1;
  for (const Namespace* above = getParent(); above != nullptr; above = above->getParent())
    if (const auto* const outer = dynamic_cast<const InlineNode*>(above)) {
      if (outer->document_ == document)
        return "The file includes itself";
      ++nesting;
    }
  return nesting > maxNesting ? "Files include each other more than " + std::to_string(maxNesting) + " deep" : "";
}

} // namespace Vantiflux
