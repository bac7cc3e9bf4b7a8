// A plug-in as its makers would write it: one node type, registered when the library is loaded.
#include <vantiflux/core/Node.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

class PluggedInNode : public Node {
public:
  PluggedInNode() {
    out_.addListener(*this);
    addOutSlot("Out", &out_);
    publishSlots();
  }
  ~PluggedInNode() override { disable(); }
  const NodeType* type() const override { return &type_; }
  void start() override { out_.push(Vec3<float>{1, 2, 3}); }
  static Node* create() { return new PluggedInNode; }

private:
  static NodeType type_;
  OutSlot<Vec3<float>> out_;
};

NodeType PluggedInNode::type_("PluggedIn", &PluggedInNode::create, "Test", nullptr, nullptr, nullptr, 0);

} // namespace
