// A plug-in: one node type in a library of its own. Built as Counter.vfx, it is found by its name when a tree, or a
// call of NodeType::findType, asks for a "Counter", in the directories of VANTIFLUX_PLUGIN_PATH:
//
//     VANTIFLUX_PLUGIN_PATH=build/release/examples vantiflux run examples/trees/plugin.vfx --watch 'Counter/Count'
#include <iterator>

#include <vantiflux/core/FieldRow.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/core/ThreadedNode.h>
#include <vantiflux/values/SlotTypes.h>

namespace {

using namespace Vantiflux;

/// Counts while somebody reads it.
class CounterNode : public ThreadedNode {
public:
  CounterNode() : count_("How often it has counted since it was started") {
    attachSlot("Count", count_);
    publishSlots();
  }

  ~CounterNode() override {
    disable();
    CounterNode::stop();
  }

  const NodeType* type() const override { return &type_; }
  static Node* create() { return new CounterNode; }

  void setInterval(int milliseconds) { interval_.set(milliseconds); }
  int getInterval() const { return interval_.get(); }

protected:
  int thread() override {
    setState(Running, "Counting");
    for (long count = 1; waitThread(getInterval() > 0 ? getInterval() : 1); ++count)
      count_.push(count);
    count_.invalidateValue();
    setState(Sleeping, "");
    return 0;
  }

private:
  static Field fields_[];
  static NodeType type_;

  OutSlot<long> count_;
  Setting<int> interval_{100};
};

using N = CounterNode;
Field CounterNode::fields_[] = {
    fieldRow<N>("Interval", "Milliseconds between two numbers.", "100", &N::setInterval, &N::getInterval),
};
NodeType CounterNode::type_("Counter", &CounterNode::create, "The Vantiflux developers", "Counts.", nullptr, fields_,
                            std::size(fields_));

} // namespace
