#pragma once

#include <vantiflux/core/Field.h>
#include <vantiflux/core/NodeType.h>

namespace Vantiflux {

class Node;

/// What people are told of node class N before they have one, and how one is made. The class derives from this besides
/// from its kind of node, and its source says, in this namespace:
///
///     template <> const char* const NodeDescription<PumpNode>::typeName_ = "Pump";
///     template <> const char* const NodeDescription<PumpNode>::shortDescription_ = "Moves water.";
///     template <> const char* const NodeDescription<PumpNode>::longDescription_ = "Moves water when it is told to.";
///     template <> Field NodeDescription<PumpNode>::fields_[] = {fieldRow<PumpNode>(...), ...};
///     template <>
///     NodeType NodeDescription<PumpNode>::type_(typeName_, &create, author_, shortDescription_, longDescription_,
///                                               fields_, std::size(fields_));
///
///     const NodeType* PumpNode::type() const {
///       return &type_;
///     }
///
/// in this order, which is that of initialisation. Nothing but that source names the members that it defines; `type`
/// stands there too for that reason. A class without fields leaves `fields_` out, and gives null and 0 for it.
template <class N>
class NodeDescription {
public:
  static Node* create() { return new N; }

protected:
  NodeDescription() = default;
  ~NodeDescription() = default;

  static constexpr const char* author_ = "The Vantiflux developers";
  static const char* const typeName_;
  static const char* const shortDescription_;
  static const char* const longDescription_;
  static Field fields_[];
  static NodeType type_;
};

} // namespace Vantiflux
