#pragma once

#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/platform/pelorn/ProtocolHTTP.h>

namespace REST {

/// What a request names: a node or one attribute of it, for as long as the request lasts.
///
/// *Threads.* Made in the scope of a TreeAccess, because it looks at a node. From then on a
/// resource gives what it has kept, and needs no lock; what has to look at the node again finds it again by its place
/// in the tree. So nobody waits for the tree while a reply is put together, and no node is touched that has gone.
///
/// *Failure.* All failures are std::runtime_error.
class VANTIFLUX_API VCType {
public:
  using Reply = Pelorn::ProtocolHTTP::Reply;

  explicit VCType(Vantiflux::Node* node);
  VCType(const VCType&) = delete;
  VCType& operator=(const VCType&) = delete;

  /// Append the description to the reply's body, and set its headers.
  virtual void toJSON(Reply& reply) = 0;
  virtual void toXML(Reply& reply) = 0;
  /// One of them: JSON for an empty format and "json", XML for "xml"; nothing for any other.
  virtual void desc(Reply& reply, const std::string& format);
  /// Appends the value in a format such as "data.string".
  virtual void data(Reply& reply, const std::string& format) = 0;
  virtual ~VCType();

  /// Keeps what `data` will need, so that it can be called when the tree is no longer held.
  virtual void hold() {}

  /// Tells nodes apart; it may be gone.
  const Vantiflux::Node* getNode() const noexcept { return node_; }
  /// The label that the node's namespace had.
  const std::string& getNodeLabel() const noexcept { return path_.back(); }

protected:
  /// The node at the place where this one stood, null when there is none. Needs TreeAccess.
  Vantiflux::Node* findNode() const;

private:
  Vantiflux::Node* const node_;
  std::vector<std::string> path_; ///< labels from below the root down to the node
};

/// The items in double-quotes, with ", " between them.
VANTIFLUX_API std::string commaSeparate(const std::vector<std::string>& items);

} // namespace REST
