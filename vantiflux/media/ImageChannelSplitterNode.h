#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/InSlot.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// Splits images into their channels, each an image in Y800 with the time stamp of the image that came.
///
/// | Slot            | Direction | Type              |                                      |
/// |-----------------|-----------|-------------------|--------------------------------------|
/// | "Frame In"      | in        | `SmartPtr<Image>` | what is split; there while an out-slot is in use |
/// | "Red Channel"   | out       | `SmartPtr<Image>` |                                      |
/// | "Green Channel" | out       | `SmartPtr<Image>` |                                      |
/// | "Blue Channel"  | out       | `SmartPtr<Image>` |                                      |
/// | "Alpha Channel" | out       | `SmartPtr<Image>` | 255 unless the format has a fourth byte for each pixel |
///
/// It has no fields. *Threads.* No thread of its own: it works in the producer's, and holds that up as long.
class VANTIFLUX_API ImageChannelSplitterNode : public Node, public NodeDescription<ImageChannelSplitterNode> {
public:
  ImageChannelSplitterNode();
  ~ImageChannelSplitterNode() override;

  const NodeType* type() const override;
  void start() override;
  void stop() override;
  void newData(BasicInSlot& slot) override;
  void startInSlot(BasicInSlot& /*slot*/) override {}
  void stopInSlot(BasicInSlot& /*slot*/) override {}

private:
  InSlot<SmartPtr<Image>> frameIn_{"Image that gets split into its channels"};
  OutSlot<SmartPtr<Image>> red_{"The red channel"};
  OutSlot<SmartPtr<Image>> green_{"The green channel"};
  OutSlot<SmartPtr<Image>> blue_{"The blue channel"};
  OutSlot<SmartPtr<Image>> alpha_{"The alpha channel"};
};

} // namespace Vantiflux
