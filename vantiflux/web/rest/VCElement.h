#pragma once

#include <string>
#include <vector>

#include <vantiflux/Export.h>
#include <vantiflux/web/rest/VCType.h>

namespace REST {

/// A node as a resource: its description lists its attributes. It has no value.
class VANTIFLUX_API VCElement final : public VCType {
public:
  /// Counts the elements of lists that wait in in-slots, which takes them out (see getBasicType).
  explicit VCElement(Vantiflux::Node* node);

  void toJSON(Reply& reply) override;
  void toXML(Reply& reply) override;
  /// Always throws.
  void data(Reply& reply, const std::string& format) override;

  const std::vector<std::string>& getAttributes() const noexcept { return attributes_; }

private:
  std::string id_;
  std::string type_;
  std::vector<std::string> attributes_;
  std::vector<std::string> relations_; ///< gathered; descriptions name the relation and not its routes
};

/// Append the names of the node's fields, then the labels of its in-slots and of its out-slots whose type is known.
VANTIFLUX_API void gatherAttributes(Vantiflux::Node* node, std::vector<std::string>& attributes);
/// Appends for each route what it comes from and where it goes.
VANTIFLUX_API void gatherRelations(Vantiflux::Node* node, std::vector<std::string>& relations);

} // namespace REST
