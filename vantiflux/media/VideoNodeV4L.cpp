#include <vantiflux/media/VideoNodeV4L.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fnmatch.h>
#include <limits>
#include <poll.h>

#include <vantiflux/platform/pelorn/Deadline.h>
#include <vantiflux/platform/pelorn/Exception.h>
#include <vantiflux/platform/tarsil/Console.h>

namespace Vantiflux {

using Pelorn::VideoBuffers;
using Pelorn::VideoDevice;
using Pelorn::VideoFormat;

namespace {

// The layouts that are understood, in the order in which they are tried.
struct Layout {
  std::uint32_t pixelFormat;
  Image::Format format;
  std::uint64_t bytesPerPixel;
};
constexpr std::array<Layout, 3> layouts = {{
    {Pelorn::fourCC("RGB3"), Image::BGR24, 3},
    {Pelorn::fourCC("RGB4"), Image::BGR32, 4},
    {Pelorn::fourCC("YUYV"), Image::YUY2, 2},
}};

const Layout* layoutOf(std::uint32_t pixelFormat) {
  for (const Layout& layout : layouts)
    if (layout.pixelFormat == pixelFormat)
      return &layout;
  return nullptr;
}

// In bytes; 0 when the driver tells a size that is no image's.
std::size_t frameSizeOf(const VideoFormat& format, const Layout& layout) {
  constexpr std::uint64_t limit = std::numeric_limits<std::uint32_t>::max();
  const std::uint64_t pixels = std::uint64_t{format.width} * format.height;
  return pixels > limit / layout.bytesPerPixel ? 0 : pixels * layout.bytesPerPixel;
}

} // namespace

Node* VideoNodeV4L_create() {
  return new VideoNodeV4L;
}

VideoNodeV4L::VideoNodeV4L() : worker_(*this, [this] { thread(); }) {}

VideoNodeV4L::~VideoNodeV4L() {
  disable();
  VideoNodeV4L::stop();
}

void VideoNodeV4L::initialize() {
  VideoNode::initialize();
  std::string name = getDevice();
  trim(name);
  Found found;
  VideoDevice device;
  const bool opened = openByName(name, device, found) || openByCard(name, device, found);
  if (opened)
    found.isV4L2 = device.queryCapability(found.card);
  found_.set(found);
  if (!opened) {
    setState(Error, "Cannot open device file");
    return;
  }
  if (found.isV4L2)
    setState(Sleeping, "Operating " + found.card);
  makeWake();
}

bool VideoNodeV4L::openByName(const std::string& name, VideoDevice& device, Found& found) const {
  char* end = nullptr;
  const long number = std::strtol(name.c_str(), &end, 10);
  if (!name.empty() && end == name.c_str() + name.size()) {
    found.path = "/dev/video" + std::to_string(number);
    if (device.open(found.path))
      return true;
  }
  if (name.compare(0, 5, "/dev/") == 0) {
    found.path = name;
    if (device.open(found.path))
      return true;
  }
  return false;
}

// A pattern that fnmatch cannot make sense of ends the search as a match does.
bool VideoNodeV4L::openByCard(const std::string& pattern, VideoDevice& device, Found& found) const {
  for (unsigned long i = 0;; ++i) {
    found.path = VideoDevice::path(i);
    if (!device.open(found.path))
      return false;
    std::string card;
    if (device.queryCapability(card) && ::fnmatch(pattern.c_str(), card.c_str(), FNM_CASEFOLD) != FNM_NOMATCH)
      return true;
    device.close();
  }
}

bool VideoNodeV4L::makeWake() {
  try {
    if (wake_ == nullptr)
      wake_ = std::make_unique<Pelorn::Notifier>();
    return true;
  } catch (const Pelorn::IOException&) {
    setState(Error, "Cannot create pipe");
    return false;
  }
}

// A run that could not be woken could not be stopped. What an earlier stop left behind, which came when the run was
// over already, must not end this one.
bool VideoNodeV4L::prepare() {
  if (!makeWake())
    return false;
  wake_->clear();
  return true;
}

void VideoNodeV4L::start() {
  if (!found_.get().path.empty())
    worker_.start([this] { return prepare(); });
}

void VideoNodeV4L::stop() {
  worker_.stop([this] { wake_->signal(); });
}

void VideoNodeV4L::thread() {
  // Whatever ends the run: a reader that comes later must get no old frame.
  struct Ending {
    ~Ending() { frames.invalidateValue(); }
    OutSlot<SmartPtr<Image>>& frames;
  } const ending{frames_};
  device_ = found_.get();
  VideoDevice device;
  if (!device.open(device_.path))
    setState(Error, "Cannot open device");
  // Without a device each step fails, and says so.
  setXBarChannel(device, getChannel());
  if (device_.isV4L2 ? !setSizeFormat(device) : !(setSize(device) && setFormat(device)))
    return;
  if (!doMMap(device))
    doRead(device);
}

bool VideoNodeV4L::setXBarChannel(VideoDevice& device, int channel) {
  if (channel >= 0 && device_.isV4L2 && !device.selectInput(channel))
    Tarsil::printErrorLine("Cannot set channel properties");
  return true;
}

// A device that does not speak Video4Linux2 is taken as it stands.
bool VideoNodeV4L::setSize(VideoDevice& /*device*/) {
  return true;
}
bool VideoNodeV4L::setFormat(VideoDevice& /*device*/) {
  return true;
}

bool VideoNodeV4L::setSizeFormat(VideoDevice& device) {
  frameFormat_ = Image::NONE;
  VideoFormat now;
  if (!chooseFormat(device) || !chooseSize(device) || !device.getFormat(now)) {
    addLog("The device does not tell its format");
    return false;
  }
  const Layout* const layout = layoutOf(now.pixelFormat);
  if (layout == nullptr) {
    addLog("The device offers none of the formats BGR24, BGR32 and YUY2");
    return false;
  }
  frameSize_ = frameSizeOf(now, *layout);
  if (frameSize_ == 0) {
    addLog("The device tells an impossible size of its frames");
    return false;
  }
  frameFormat_ = layout->format;
  frameWidth_ = now.width;
  frameHeight_ = now.height;
  return true;
}

// False if the device does not tell its format; no layout that is understood is no failure here.
bool VideoNodeV4L::chooseFormat(VideoDevice& device) {
  VideoFormat now;
  if (!device.getFormat(now))
    return false;
  const Image::Format wanted = Image::string2Format(getFormat());
  for (const Layout& layout : layouts)
    if (layout.format == wanted)
      device.setFormat({now.width, now.height, layout.pixelFormat});
  if (!device.getFormat(now))
    return false;
  if (layoutOf(now.pixelFormat) != nullptr)
    return true;
  for (const Layout& layout : layouts)
    if (device.setFormat({now.width, now.height, layout.pixelFormat}))
      break;
  return true;
}

bool VideoNodeV4L::chooseSize(VideoDevice& device) {
  VideoFormat now;
  if (!device.getFormat(now))
    return false;
  const int width = getWidth();
  const int height = getHeight();
  if (width > 0)
    now.width = static_cast<std::uint32_t>(width);
  if (height > 0)
    now.height = static_cast<std::uint32_t>(height);
  if (width > 0 || height > 0)
    device.setFormat(now);
  return true;
}

bool VideoNodeV4L::doMMap(VideoDevice& device) {
  if (!device_.isV4L2)
    return true;
  VideoBuffers buffers(device);
  if (!buffers.request(2))
    return false;
  const bool streams = buffers.map(frameSize_) && buffers.streamOn();
  if (streams) {
    setState(Running, runningText());
    grab(device, buffers);
  }
  fallAsleep();
  buffers.release();
  return streams;
}

void VideoNodeV4L::grab(VideoDevice& device, VideoBuffers& buffers) {
  for (;;) {
    if (device.waitForFrame(wake_->descriptor()) != VideoDevice::Ready::Frame)
      return;
    const unsigned char* bytes = nullptr;
    const VideoBuffers::Taking taking = buffers.take(bytes);
    if (taking == VideoBuffers::Taking::Nothing) {
      rest();
      continue;
    }
    if (taking == VideoBuffers::Taking::Failed)
      return;
    const SmartPtr<Image> frame = newFrame();
    std::memcpy(frame->data(), bytes, frame->size());
    frames_.push(Data<SmartPtr<Image>>(frame));
    if (!buffers.giveBack())
      return;
  }
}

bool VideoNodeV4L::doRead(VideoDevice& device) {
  const auto fail = [this](const char* text) {
    setState(Error, text);
    return false;
  };
  setState(Running, runningText());
  for (;;) {
    switch (device.waitForFrame(wake_->descriptor())) {
    case VideoDevice::Ready::Woken:
      fallAsleep();
      return true;
    case VideoDevice::Ready::NotReadable:
    case VideoDevice::Ready::Failed:
      return fail("Cannot poll");
    case VideoDevice::Ready::Frame:
      break;
    }
    const SmartPtr<Image> frame = newFrame();
    const VideoDevice::Reading reading = device.read(frame->data(), frame->size());
    if (reading == VideoDevice::Reading::Failed)
      return fail("Cannot read device");
    if (reading == VideoDevice::Reading::Nothing)
      rest();
    else
      frames_.push(Data<SmartPtr<Image>>(frame));
  }
}

// A driver may call the device readable and have no frame, again and again.
void VideoNodeV4L::rest() const {
  pollfd wake{wake_->descriptor(), POLLIN, 0};
  Pelorn::pollUntil(&wake, 1, Pelorn::Deadline(2));
}

SmartPtr<Image> VideoNodeV4L::newFrame() const {
  SmartPtr<Image> frame;
  frame.acquire();
  frame->setParameters(frameWidth_, frameHeight_, frameFormat_);
  return frame;
}

std::string VideoNodeV4L::runningText() const {
  return "Operating " + device_.card + ", " + std::to_string(frameWidth_) + "x" + std::to_string(frameHeight_) + " " +
         Image::format2String(frameFormat_);
}

// Whatever it was, but for a shutdown from inside.
void VideoNodeV4L::fallAsleep() {
  State state = getState();
  while (state != Disabled && !changeState(state, Sleeping))
    state = getState();
}

} // namespace Vantiflux
