#include <vantiflux/values/codecs/SFImage.h>

#include <array>
#include <cstdint>

namespace Vantiflux {

namespace {

// Every format takes a number of eighths of a byte for each pixel. Asking small images for it keeps the table of
// formats in one place, and no memory is taken for an absurd size.
constexpr unsigned int probePixels = 8;
using Eighths = std::array<std::uint32_t, Image::formatCount>;

Eighths askForEighths() {
  Eighths eighths{};
  for (std::size_t format = 0; format < eighths.size(); ++format) {
    Image probe;
    probe.setParameters(probePixels, 1, static_cast<Image::Format>(format));
    eighths[format] = static_cast<std::uint32_t>(probe.size());
  }
  return eighths;
}

} // namespace

ImageParameters::ImageParameters(const Image& image)
    : width(image.width()), height(image.height()), format(image.format()) {}

// In 32 bits, as Image counts.
std::size_t ImageParameters::size() const {
  static const Eighths eighths = askForEighths();
  if (format < 0 || format >= Image::formatCount)
    return 0;
  const std::uint32_t perEight = eighths[static_cast<std::size_t>(format)];
  const std::uint32_t pixels = width * height;
  const std::uint64_t fraction = std::uint64_t{pixels} * (perEight % probePixels) / probePixels;
  return pixels * (perEight / probePixels) + static_cast<std::uint32_t>(fraction);
}

void ImageParameters::apply(Image& image) const {
  image.setParameters(width, height, static_cast<Image::Format>(format));
}

Pelorn::obinstream& operator<<(Pelorn::obinstream& out, const ImageParameters& parameters) {
  return out << parameters.width << parameters.height << parameters.format;
}

Pelorn::ibinstream& operator>>(Pelorn::ibinstream& in, ImageParameters& parameters) {
  return in >> parameters.width >> parameters.height >> parameters.format;
}

} // namespace Vantiflux
