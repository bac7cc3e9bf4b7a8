#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/Setting.h>

namespace Vantiflux {

/// Takes the contents of a saved namespace file into the tree, in its own place, each time it is enabled. They are not
/// saved with the tree, and neither is the field: a saved file holds the empty element of the node.
///
/// | Field | Default |                                                                                           |
/// |-------|---------|-------------------------------------------------------------------------------------------|
/// | "URL" | empty   | where the file is; relative to the base URL of the node: the file that the node stands in |
///
/// Running once the file is loaded, without a slot in use.
///
/// *Threads.* A file of this host is read and loaded by whoever enables the node, before `enable` returns. A document
/// of a web server is fetched by a worker, so that a server that is slow to answer holds up nobody: until it has come
/// the node is Sleeping, with "Loading" as its short info. Disabling the node breaks it off at once. The worker loads
/// under the root's write lock.
///
/// *Failure.* A URL that cannot be parsed or opened sets the state Error, with the reason in the log, and so does a
/// file that would end up in itself, that is more than maxNesting files deep, or one too many of those that include
/// each other, by number (256) or by length (256 MiB); what the node held stays. What is wrong in a file leaves
/// through `enable`, as StateKeeperXML::load throws it; what is wrong in a web server's document sets the state Error.
class VANTIFLUX_API InlineNode : public Node, public NodeDescription<InlineNode> {
public:
  /// How many files may be taken in one inside the other.
  static constexpr std::size_t maxNesting = 16;

  InlineNode();
  ~InlineNode() override;

  std::string getURL() const { return url_.get(); }
  /// Counts when the node is enabled the next time.
  void setURL(const std::string& url) { url_.set(url); }

  bool saveState() const override { return false; }
  const NodeType* type() const override;

protected:
  void initialize() override;
  void shutdown() override;

private:
  struct Source;
  struct Inclusion;

  void stopWork();
  std::string objection(const std::string& identity);
  void fetch();
  void take(const Source& source, const std::string& document);
  void fail(const Source& source, const std::string& text);

  Setting<std::string> url_;
  const std::unique_ptr<Inclusion> inclusion_;
  NodeWorker worker_;
};

} // namespace Vantiflux
