#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/Node.h>
#include <vantiflux/core/NodeDescription.h>
#include <vantiflux/core/OutSlot.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/values/TypeName.h>

namespace Vantiflux {

/// Grabs frames from a camera or a frame grabber: what all systems have in common. The registered type makes a node of
/// this system's class.
///
/// | Slot     | Direction | Type              |                                        |
/// |----------|-----------|-------------------|----------------------------------------|
/// | "Frames" | out       | `SmartPtr<Image>` | video frames, stamped when they came in |
///
/// | Field       | Default | |
/// |-------------|---------|-|
/// | "Device"    | 0       | which device: a number, and whatever else the system's class knows |
/// | "Channel"   | 0       | input of the device, from 0; negative: leave it as it is |
/// | "Width"     | 0       | pixels; 0: as the device stands |
/// | "Height"    | 0       | pixels; 0: as the device stands |
/// | "FrameRate" | 0       | frames a second |
/// | "Format"    | empty   | as Image::string2Format understands it |
/// | "FlipX"     | false   | flip horizontally, where the hardware can |
/// | "FlipY"     | false   | flip vertically, where the hardware can |
/// | "Trigger"   | false   | use an external hardware trigger, where there is one |
///
/// Fields may be set at any time and count from the next start on, "Device" from the next initialisation on.
class VANTIFLUX_API VideoNode : public Node, public NodeDescription<VideoNode> {
public:
  ~VideoNode() override;

  const NodeType* type() const override;

  static Node* create();

  void setDevice(const std::string& device) { device_.set(device); }
  std::string getDevice() const { return device_.get(); }
  void setChannel(int channel) { channel_.set(channel); }
  int getChannel() const { return channel_.get(); }
  void setWidth(int width) { width_.set(width); }
  int getWidth() const { return width_.get(); }
  void setHeight(int height) { height_.set(height); }
  int getHeight() const { return height_.get(); }
  void setFrameRate(int rate) { frameRate_.set(rate); }
  int getFrameRate() const { return frameRate_.get(); }
  void setFormat(const std::string& format) { format_.set(format); }
  std::string getFormat() const { return format_.get(); }
  void setFlipX(bool flip) { flipX_.set(flip); }
  bool getFlipX() const { return flipX_.get(); }
  void setFlipY(bool flip) { flipY_.set(flip); }
  bool getFlipY() const { return flipY_.get(); }
  void setTrigger(bool trigger) { trigger_.set(trigger); }
  bool getTrigger() const { return trigger_.get(); }

  /// Removes blanks, tabs, carriage returns and line feeds from both ends.
  static void trim(std::string& text);

protected:
  VideoNode();

  OutSlot<SmartPtr<Image>> frames_{"Video frames"};

private:
  Setting<std::string> device_{"0"};
  Setting<int> channel_{0};
  Setting<int> width_{0};
  Setting<int> height_{0};
  Setting<int> frameRate_{0};
  Setting<std::string> format_;
  Setting<bool> flipX_{false};
  Setting<bool> flipY_{false};
  Setting<bool> trigger_{false};
};

} // namespace Vantiflux
