#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/media/BasicThreadedFilterNode.h>

namespace Vantiflux {

/// Mirrors images.
///
/// | Slot         | Direction | Type              |              |
/// |--------------|-----------|-------------------|--------------|
/// | "frames_in"  | in        | `SmartPtr<Image>` | image input  |
/// | "frames_out" | out       | `SmartPtr<Image>` | image output |
///
/// | Field    | Default | The axis of reflection is             |
/// |----------|---------|---------------------------------------|
/// | "flip_h" | false   | horizontal: the first line comes last |
/// | "flip_v" | false   | vertical: left and right change sides |
///
/// With neither, and in formats that it does not know, it passes on the very image that came. A missing image counts as
/// one without pixels. *Threads* and *failure* as BasicThreadedFilterNode.
class VANTIFLUX_API ImageFlipNode : public ThreadedImageFilterNode, public NodeDescription<ImageFlipNode> {
public:
  ImageFlipNode();
  ~ImageFlipNode() override;

  const NodeType* type() const override;
  SmartPtr<Image> transform(SmartPtr<Image>& frame) const override;

  void setFlipHorizontal(bool flip) { flipHorizontal_.set(flip); }
  bool getFlipHorizontal() const { return flipHorizontal_.get(); }
  void setFlipVertical(bool flip) { flipVertical_.set(flip); }
  bool getFlipVertical() const { return flipVertical_.get(); }

private:
  Setting<bool> flipHorizontal_{false};
  Setting<bool> flipVertical_{false};
};

} // namespace Vantiflux
