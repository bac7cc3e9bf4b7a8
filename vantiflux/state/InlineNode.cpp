#include <vantiflux/state/InlineNode.h>

#include <exception>
#include <iterator>
#include <sstream>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/Root.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/URLImpl.h>
#include <vantiflux/state/Inclusion.h>
#include <vantiflux/state/OpenDocument.h>
#include <vantiflux/state/StateKeeperXML.h>

namespace Vantiflux {

using N = InlineNode;

template <>
const char* const NodeDescription<N>::typeName_ = "Inline";
template <>
const char* const NodeDescription<N>::shortDescription_ = "Allows to load a namespace from a file.";
template <>
const char* const NodeDescription<N>::longDescription_ =
    "Takes the contents of a saved namespace file into the tree, in the place of this node, when it is enabled. The "
    "contents are not saved with the tree.";
template <>
Field NodeDescription<N>::fields_[] = {
    fieldRow<N>("URL", "URL of the file we read the namespace from", "", &N::setURL, &N::getURL),
};
template <>
NodeType NodeDescription<N>::type_(typeName_, &create, author_, shortDescription_, longDescription_, fields_,
                                   std::size(fields_));

const NodeType* InlineNode::type() const {
  return &type_;
}

/// Where contents come from. Immutable, shared with the worker's run.
struct InlineNode::Source {
  Pelorn::URL url;
  std::string identity;  ///< of the document
  Pelorn::Notifier stop; ///< ends the run
};

/// Guarded by the lock of structure.
struct InlineNode::Inclusion {
  std::string identity; ///< of the document that the contents come from
  InclusionShare share;
  std::shared_ptr<const Source> source; ///< what the worker is to fetch
};

InlineNode::InlineNode() : inclusion_(std::make_unique<Inclusion>()), worker_(*this, [this] { fetch(); }) {}

InlineNode::~InlineNode() {
  disable();
  stopWork();
  const TreeLock lock;
  inclusion_->share.release();
}

void InlineNode::initialize() {
  Node::initialize();
  setShortInfo("");
  try {
    const Pelorn::URL url = Pelorn::URL::parse(getURL(), getBaseURL());
    const auto source = std::make_shared<const Source>(Source{url, OpenDocument::identityOf(url), {}});
    const std::string wrong = objection(source->identity);
    if (!wrong.empty())
      fail(*source, wrong);
    else if (url->mayBlock())
      worker_.start([this, source] {
        inclusion_->source = source;
        setState(Sleeping, "Loading");
        return true;
      });
    else
      take(*source, url->read());
  } catch (const Pelorn::Exception& e) {
    setState(Error);
    addLog(e.what());
  }
}

void InlineNode::shutdown() {
  stopWork();
  Node::shutdown();
}

void InlineNode::stopWork() {
  const TreeLock lock;
  worker_.stop([this] { inclusion_->source->stop.signal(); });
}

// The nodes in a file are initialised after the file has been loaded, or while it is still being loaded into a tree
// that is enabled: both the nodes above this one and the documents that this thread is loading tell where it stands.
std::string InlineNode::objection(const std::string& identity) {
  const char* const ring = "The file includes itself";
  if (OpenDocument::isOpen(identity))
    return ring;
  std::shared_ptr<InclusionTotal> total;
  std::size_t nesting = 1;
  for (const Namespace* above = getParent(); above != nullptr; above = above->getParent())
    if (const auto* const outer = dynamic_cast<const InlineNode*>(above)) {
      if (outer->inclusion_->identity == identity)
        return ring;
      if (!total)
        total = outer->inclusion_->share.total();
      ++nesting;
    }
  if (nesting > maxNesting)
    return "Files include each other more than " + std::to_string(maxNesting) + " deep";
  if (!total)
    total = OpenDocument::total();
  if (!inclusion_->share.claim(total))
    return "More than " + std::to_string(InclusionShare::maxFiles) + " files include each other";
  return "";
}

void InlineNode::fetch() {
  std::shared_ptr<const Source> source;
  {
    const TreeLock lock;
    source = inclusion_->source;
  }
  std::string document, trouble;
  try {
    document = source->url->read(&source->stop);
  } catch (const Pelorn::URLImpl::Exception& e) {
    trouble = e.what();
  }
  if (!worker_.isRunning()) // who stops this worker shall not wait for who holds the root lock
    return;
  const Root::WriteLock rootLock;
  const TreeLock lock;
  if (!worker_.isRunning()) // the result is not wanted any more
    return;
  if (trouble.empty()) {
    try {
      take(*source, document);
    } catch (const std::exception& e) { // nobody else is there to be told
      fail(*source, e.what());
    }
  } else {
    setState(Error, "");
    addLog(trouble);
  }
}

void InlineNode::take(const Source& source, const std::string& document) {
  if (!inclusion_->share.add(document.size())) {
    fail(source,
         "Files that include each other are longer than " + std::to_string(InclusionShare::maxBytes) + " bytes");
    return;
  }
  inclusion_->identity = source.identity;
  std::istringstream stream(document, std::ios::in | std::ios::binary);
  StateKeeperXML::load(*this, stream, source.url);
  setState(Running, "");
}

void InlineNode::fail(const Source& source, const std::string& text) {
  setState(Error, text);
  addLog(source.url->label() + ": " + text);
}

} // namespace Vantiflux
