#include <vantiflux/web/rest/ImageText.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <type_traits>

#include <turbojpeg.h>

#include <vantiflux/values/SlotTypes.h>
#include <vantiflux/web/rest/Base64.h>
#include <vantiflux/web/rest/PictureDecoder.h>

namespace REST {

using Vantiflux::Image;

namespace {

constexpr int quality = 85;
constexpr std::size_t usualBytes = std::size_t{32} << 20;
constexpr std::uint64_t largestSide = 65500; ///< that JPEG can express

/// A JPEG stream in memory, encoded from an image of three or four bytes a pixel. Empty when that is not possible.
class Jpeg {
public:
  explicit Jpeg(const Image& image) {
    const int channels = image.format() == Image::RGB24 ? 3 : 4;
    const std::uint64_t width = image.width();
    const std::uint64_t height = image.height();
    if (width == 0 || height == 0 || std::max(width, height) > largestSide ||
        width * height * static_cast<unsigned>(channels) > image.size())
      return;
    const std::unique_ptr<void, int (*)(tjhandle)> encoder(tjInitCompress(), tjDestroy);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    const bool done = encoder != nullptr &&
                      tjCompress2(encoder.get(), image.data(), static_cast<int>(width), 0, static_cast<int>(height),
                                  channels == 3 ? TJPF_RGB : TJPF_RGBX, &bytes, &size, TJSAMP_420, quality, 0) == 0;
    bytes_.reset(bytes);
    size_ = done ? size : 0;
  }

  const unsigned char* data() const noexcept { return bytes_.get(); }
  std::size_t size() const noexcept { return size_; }

private:
  struct Free {
    void operator()(unsigned char* bytes) const noexcept { tjFree(bytes); }
  };
  std::unique_ptr<unsigned char[], Free> bytes_;
  std::size_t size_ = 0;
};

} // namespace

std::string imageToString(const Image* image) {
  if (image == nullptr)
    return {};
  Image converted;
  if (image->format() != Image::RGB24 && image->format() != Image::RGB32) {
    converted = *image;
    image->convertFormat(Image::RGB32, converted);
    image = &converted;
  }
  const Jpeg jpeg(*image);
  if (jpeg.size() == 0)
    return {};
  std::string text((jpeg.size() + 2) / 3 * 4 + 1, '\0');
  std::size_t size = text.size();
  if (base64_enc(jpeg.data(), jpeg.size(), reinterpret_cast<unsigned char*>(text.data()), &size) == 0)
    size = 0;
  text.resize(size);
  return text;
}

template <>
void valueFromString(const std::string& text, Vantiflux::SmartPtr<Image>& value) {
  std::size_t size = text.size() / 4 * 3 + 3;
  const auto file = std::make_unique_for_overwrite<unsigned char[]>(size);
  if (base64_dec(reinterpret_cast<const unsigned char*>(text.data()), text.size(), file.get(), &size) == 0)
    throw std::runtime_error("Error converting image");
  const PictureDecoder picture(file.get(), size);
  const std::size_t bytes = std::size_t{picture.width()} * picture.height() * 3;
  if (!value)
    value.acquire();
  if (bytes <= usualBytes && value->capacity() > usualBytes)
    *value = Image(); // the pool need not keep the buffer of a huge picture
  value->setParameters(picture.width(), picture.height(), Image::RGB24);
  std::copy_n(picture.pixels(), std::min(bytes, value->capacity()), value->data());
}

} // namespace REST
