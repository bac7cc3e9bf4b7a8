#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/media/BasicThreadedFilterNode.h>

namespace Vantiflux {

/// Converts images to another pixel format.
///
/// | Slot         | Direction | Type              |              |
/// |--------------|-----------|-------------------|--------------|
/// | "frame_in"   | in        | `SmartPtr<Image>` | image input  |
/// | "frames_out" | out       | `SmartPtr<Image>` | image output |
///
/// | Field    | Default |                                                                             |
/// |----------|---------|-----------------------------------------------------------------------------|
/// | "format" | Y800    | the name of the format to convert to, as Image::string2Format understands it |
///
/// What comes out is what Image::convertFormat makes of it, which need not be the format that was asked for: readers
/// look at the image. Where there is no conversion it is whatever the pool's image held. A missing image counts as one
/// without pixels. *Threads* and *failure* as BasicThreadedFilterNode.
class VANTIFLUX_API ImageConvertNode : public ThreadedImageFilterNode, public NodeDescription<ImageConvertNode> {
public:
  ImageConvertNode();
  ~ImageConvertNode() override;

  const NodeType* type() const override;
  SmartPtr<Image> transform(SmartPtr<Image>& frame) const override;

  void setFormat(const std::string& format) { format_.set(format); }
  std::string getFormat() const { return format_.get(); }

private:
  Setting<std::string> format_{"Y800"};
};

} // namespace Vantiflux
