#pragma once

#include <cstddef>
#include <mutex>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Field.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeType.h>

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
/// *Threads.* The file is opened and read by whoever enables the node, with the lock of structure held: a server that
/// is slow to answer holds up all changes of the tree meanwhile, though not the flow of data.
///
/// *Failure.* A URL that cannot be parsed or opened sets the state Error, with the reason in the log, and so does a
/// file that would end up in itself, or that is more than maxNesting files deep; what the node held stays. What is
/// wrong in the file leaves through `enable`, as StateKeeperXML::load throws it.
class VANTIFLUX_API InlineNode : public Node {
public:
  /// How many files may be taken in one inside the other.
  static constexpr std::size_t maxNesting = 16;

  InlineNode();
  ~InlineNode() override;

  std::string getURL() const;
  /// Counts when the node is enabled the next time.
  void setURL(const std::string& url);

  bool saveState() const override { return false; }
  const NodeType* type() const override { return &type_; }

  static Node* create();

protected:
  void initialize() override;

private:
  std::string objection(const std::string& document) const;

  static const char* const typeName_;
  static const char* const author_;
  static const char* const shortDescription_;
  static const char* const longDescription_;
  static Field fields_[];
  static NodeType type_;

  mutable std::mutex urlLock_; ///< innermost; guards the next
  std::string url_;
  std::string document_; ///< which one the contents came from; guarded by the lock of structure
};

} // namespace Vantiflux
