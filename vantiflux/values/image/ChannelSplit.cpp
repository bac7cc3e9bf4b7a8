#include <vantiflux/values/image/ChannelSplit.h>

#include <algorithm>
#include <cstring>

#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/values/image/ColorBytes.h>
#include <vantiflux/values/image/PixelLoops.h>

namespace Vantiflux {

namespace {

void setPlanes(const ChannelPlanes& planes, unsigned int width, unsigned int height) {
  for (Image* plane : {&planes.red, &planes.green, &planes.blue, &planes.alpha})
    plane->setParameters(width, height, Image::Y800);
}

void makeOpaque(Image& alpha) {
  if (alpha.size() > 0)
    std::memset(alpha.data(), 255, alpha.size());
}

// The planes are set up, and the image holds at least that many pixels.
void splitColors(const Image& in, const ChannelPlanes& planes, std::size_t pixels) {
  const PixelLoops::Source bytes = {in.data(), in.size()};
  unsigned char* const red = planes.red.data();
  unsigned char* const green = planes.green.data();
  unsigned char* const blue = planes.blue.data();
  switch (in.format()) {
  case Image::BGR555:
    return PixelLoops::splitBGR555(bytes, {red, green, blue}, pixels);
  case Image::BGR565:
    return PixelLoops::splitBGR565(bytes, {red, green, blue}, pixels);
  case Image::BGR24:
    return PixelLoops::splitThree(bytes, {blue, green, red}, pixels);
  case Image::RGB24:
    return PixelLoops::splitThree(bytes, {red, green, blue}, pixels);
  case Image::BGR32:
    return PixelLoops::splitFour(bytes, {blue, green, red, planes.alpha.data()}, pixels);
  case Image::RGB32:
    return PixelLoops::splitFour(bytes, {red, green, blue, planes.alpha.data()}, pixels);
  default:
    return;
  }
}

void splitConverted(const Image& in, const ChannelPlanes& planes) {
  SmartPtr<Image> converted;
  converted.acquire();
  converted->setParameters(0, 0, Image::NONE); // an image from the pool still has what it held before
  in.convertFormat(Image::RGB24, *converted);
  const std::size_t pixels = std::min(planes.red.size(), converted->size() / 3);
  splitColors(*converted, planes, pixels);
  for (Image* plane : {&planes.red, &planes.green, &planes.blue}) {
    if (pixels < plane->size())
      std::memset(plane->data() + pixels, 0, plane->size() - pixels);
  }
  makeOpaque(planes.alpha);
}

} // namespace

void splitChannels(const Image& in, const ChannelPlanes& planes) {
  const std::size_t bytes = colorBytes(in.format());
  if (!holdsAllPixels(in, std::max<std::size_t>(bytes, 1)))
    return setPlanes(planes, 0, 0);
  setPlanes(planes, in.width(), in.height());
  if (bytes == 0)
    return splitConverted(in, planes);
  splitColors(in, planes, planes.red.size());
  if (bytes < 4)
    makeOpaque(planes.alpha);
}

} // namespace Vantiflux
