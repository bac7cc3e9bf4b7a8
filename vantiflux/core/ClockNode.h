#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/platform/pelorn/Wait.h>
#include <vantiflux/values/Time.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// Publishes the system time once a second while somebody reads it.
///
/// | Slot   | Direction | Type   |                                                                    |
/// |--------|-----------|--------|--------------------------------------------------------------------|
/// | "Time" | out       | `Time` | whole seconds since 1970-01-01 00:00:00 UTC, at most 0.2 s after they began |
class VANTIFLUX_API ClockNode : public Node, public NodeDescription<ClockNode> {
public:
  ClockNode();
  ~ClockNode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;

private:
  void thread();
  bool waitThread(int milliseconds) { return wait_.wait(milliseconds); }

  OutSlot<Time> timeSlot_;
  Pelorn::Wait wait_;
  NodeWorker worker_;
};

} // namespace Vantiflux
