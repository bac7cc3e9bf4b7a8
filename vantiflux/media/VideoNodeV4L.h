#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/NodeWorker.h>
#include <vantiflux/core/Setting.h>
#include <vantiflux/media/VideoNode.h>
#include <vantiflux/platform/pelorn/Notifier.h>
#include <vantiflux/platform/pelorn/VideoBuffers.h>
#include <vantiflux/platform/pelorn/VideoDevice.h>

namespace Vantiflux {

/// Grabs frames through Video4Linux2: from buffers that the driver shares, or with `read` where it shares none.
///
/// "Device" is looked for when the node is initialised: a number N stands for /dev/videoN; what begins with "/dev/" is
/// a path; anything else, and a number or path that cannot be opened, is a pattern for card names, without regard to
/// case. "FrameRate", "FlipX", "FlipY" and "Trigger" have no effect here.
///
/// *Formats.* The driver's layouts RGB3, RGB4 and YUYV come out as BGR24, BGR32 and YUY2, their bytes as they are.
/// "Format" chooses among them; a device that is in none of them is asked for each. The size of the frames is what the
/// driver grants.
///
/// *Threads.* A worker opens the device for each run, and pushes; everything downstream runs on it. A stop needs no
/// frame to arrive. A frame is copied out of the driver's buffer, and the buffer given back at once after the push.
///
/// *Failure.* The state is Error for a device that is not found ("Cannot open device file"), cannot be opened for a run
/// ("Cannot open device"), or cannot be read ("Cannot poll", "Cannot read device"). When a device with shared buffers
/// goes while frames flow, the node is Sleeping until it is started again. A run that ends because the device offers no
/// format that is understood leaves the state as it was, and a line in the log.
class VANTIFLUX_API VideoNodeV4L : public VideoNode {
public:
  VideoNodeV4L();
  ~VideoNodeV4L() override;

  using VideoNode::setFormat;

  void start() override;
  void stop() override;
  /// The devices of this system, and inputs and formats of the node's own, in HTML. Opens each device for a moment.
  std::string getDetailedInfo() const override;

protected:
  void initialize() override;

private:
  /// What `initialize` found.
  struct Found {
    std::string path; ///< of the device file, or the last one tried
    std::string card;
    bool isV4L2 = false; ///< it answers the query for its capabilities
  };

  bool makeWake();
  bool prepare();
  bool openByName(const std::string& name, Pelorn::VideoDevice& device, Found& found) const;
  bool openByCard(const std::string& pattern, Pelorn::VideoDevice& device, Found& found) const;

  void thread();
  bool setXBarChannel(Pelorn::VideoDevice& device, int channel);
  bool setSize(Pelorn::VideoDevice& device);
  bool setFormat(Pelorn::VideoDevice& device);
  bool setSizeFormat(Pelorn::VideoDevice& device);
  bool chooseFormat(Pelorn::VideoDevice& device);
  bool chooseSize(Pelorn::VideoDevice& device);
  bool doMMap(Pelorn::VideoDevice& device);
  bool doRead(Pelorn::VideoDevice& device);
  void grab(Pelorn::VideoDevice& device, Pelorn::VideoBuffers& buffers);
  void rest() const;
  SmartPtr<Image> newFrame() const;
  std::string runningText() const;
  void fallAsleep();

  Setting<Found> found_;

  // The worker's, for one run.
  Found device_;
  std::uint32_t frameWidth_ = 0;
  std::uint32_t frameHeight_ = 0;
  std::size_t frameSize_ = 0; ///< in bytes
  Image::Format frameFormat_ = Image::NONE;

  std::unique_ptr<Pelorn::Notifier> wake_; ///< made once, under the lock of structure; readable from a stop on
  NodeWorker worker_;
};

/// A new VideoNodeV4L.
VANTIFLUX_API Node* VideoNodeV4L_create();

} // namespace Vantiflux
