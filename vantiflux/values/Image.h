#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

#include <vantiflux/values/Forward.h>
#include <vantiflux/values/GrowingBuffer.h>

namespace Vantiflux {

/// A raw pixel buffer that owns its bytes. Slots hold it as SmartPtr<Image>. A new image has no pixels: all its
/// parameters are zero and its format is NONE.
///
/// Lines are packed without padding. The buffer grows and never shrinks, so capacity() may exceed size(), which is what
/// the parameters ask for. Loops over pixels are bounded by size(), whatever width and height claim: the size is
/// computed in 32 bits and wraps around for very large images.
///
/// Failure: only allocation throws (std::bad_alloc), and the image has no pixels then.
class VANTIFLUX_API Image {
public:
  /// How the pixels lie in memory; p is width times height. Values from elsewhere may be outside the list: such an
  /// image has no pixels.
  enum Format : int {
    NONE = 0,     ///< no pixels
    BGR232 = 1,   ///< p bytes: 8 bits a pixel
    BGR555 = 2,   ///< 2p: 16-bit little-endian word
    BGR565 = 3,   ///< 2p: 16-bit little-endian word
    BGR24 = 4,    ///< 3p: B, G, R
    RGB24 = 5,    ///< 3p: R, G, B
    BGR32 = 6,    ///< 4p: B, G, R and one spare byte
    RGB32 = 7,    ///< 4p: R, G, B and one spare byte
    SHORT16 = 8,  ///< 2p: one 16-bit value a pixel
    FLOAT16 = 9,  ///< 2p: one 16-bit float a pixel
    FLOAT32 = 10, ///< 4p: one 32-bit float a pixel
    Y444 = 11,    ///< 3p: Y, U, V for each pixel
    IYU2 = 12,    ///< 3p: U, Y, V for each pixel
    I420 = 13,    ///< p + p/2: planes Y, U, V; chroma halved in both directions
    YVU9 = 14,    ///< p + p/8: planes Y, V, U; chroma quartered in both directions
    YUV9 = 15,    ///< p + p/8: planar
    Y800 = 16,    ///< p: 8-bit luminance
    Y1600 = 17,   ///< 2p: 16-bit luminance, little-endian
    Y422 = 18,    ///< 2p: U, Y0, V, Y1 for each two pixels
    Y411 = 19,    ///< p + p/2: U, Y0, Y1, V, Y2, Y3 for each four pixels
    Y41P = 20,    ///< p + p/2: 12 bytes for each eight pixels
    YV12 = 21,    ///< p + p/2: planes Y, V, U; chroma halved in both directions
    YUY2 = 22,    ///< 2p: Y0, U, Y1, V for each two pixels
    YUV422P = 23, ///< 2p: planar 4:2:2
    YUV411P = 24, ///< p + p/2: planar 4:1:1
  };
  static constexpr int formatCount = 25;

  Image() = default;
  /// Allocates exactly the bytes in use.
  Image(const Image& other);
  Image(Image&& other) noexcept { swap(other); }
  /// Keeps a buffer that is large enough. Besides the pixels, bytes beyond them travel as far as both buffers reach.
  Image& operator=(const Image& other);
  Image& operator=(Image&& other) noexcept;
  ~Image() = default;

  /// Sets the parameters and makes room for the pixels. A buffer that has to be replaced loses its contents.
  void setParameters(unsigned int width, unsigned int height, Format format);

  unsigned char* data() noexcept { return buffer_.data(); }
  const unsigned char* data() const noexcept { return buffer_.data(); }
  /// Bytes allocated.
  std::size_t capacity() const noexcept { return buffer_.capacity(); }
  /// Bytes in use.
  std::size_t size() const noexcept { return size_; }
  std::uint32_t width() const noexcept { return width_; }
  std::uint32_t height() const noexcept { return height_; }
  Format format() const noexcept { return format_; }

  /// Writes the image to result in another format. Few conversions exist, and the format that result has then is not
  /// always the target: read it from result.
  ///
  /// - To RGB24 and Y800 there are direct ways from related formats, and from the format itself.
  /// - Otherwise a BGR format becomes RGB24 whatever the target, and RGB24 leaves result as it was. A YUV or luminance
  ///   format becomes Y444, or RGB24 where the target is one of the formats before Y444.
  /// - Where there is no way, a message goes to standard error and result stays, but for this: when the source belongs
  ///   to the YUV formats and the target does not, what result holds is taken for Y, U, V and becomes RGB24.
  ///
  /// Pixels whose bytes are cut off by the end of the buffer (a width that is no multiple of a format's group) come out
  /// with luminance 0 and without colour. An image of fewer bytes than pixels (its size wrapped) gives 0 x 0.
  /// A result whose buffer is large enough is reused; it may be the image itself, at the price of a copy.
  void convertFormat(Format target, Image& result) const;

  /// Equal parameters and equal pixels.
  VANTIFLUX_API friend bool operator==(const Image& a, const Image& b);

  /// The name of a format, and "NONE" for a value outside the list.
  static const char* format2String(Format format);

  /// The format of that name or alias, in any case and with white space around it; NONE for an unknown one. The aliases
  /// are not all obvious: "YUV411" is the packed Y41P, and "YUV422" the packed YUY2.
  static Format string2Format(const std::string& name);

private:
  void clear() noexcept;
  void swap(Image& other) noexcept;

  /// The steps of convertFormat(). Each sets the parameters of its result and fills it.
  void convert_BGR232_to_RGB24(Image& result) const;
  void convert_BGR555_to_RGB24(Image& result) const;
  void convert_BGR565_to_RGB24(Image& result) const;
  void convert_BGR24_to_RGB24(Image& result) const;
  void convert_BGR32_to_RGB24(Image& result) const;
  void convert_RGB24_to_Y800(Image& result) const;
  void convert_BGR24_to_Y800(Image& result) const;
  void convert_Y444_to_Y800(Image& result) const;
  void convert_IYU2_to_Y444(Image& result) const;
  void convert_Y422_to_Y444(Image& result) const;
  void convert_Y422_to_Y800(Image& result) const;
  void convert_Y411_to_Y444(Image& result) const;
  void convert_Y411_to_Y800(Image& result) const;
  void convert_Y41P_to_Y444(Image& result) const;
  void convert_Y800_to_Y444(Image& result) const;
  void convert_Y1600_to_Y444(Image& result) const;
  void convert_I420_to_Y444(Image& result) const;
  void convert_I420_to_Y800(Image& result) const;
  void convert_YVU9_to_Y444(Image& result) const;
  void convert_YV12_to_Y444(Image& result) const;
  void convert_YUY2_to_Y444(Image& result) const;

  void copyTo(Image& result) const;

  struct Way;
  /// Takes the way that there is from this format, if it is among these.
  template <std::size_t count>
  bool convertOneOf(const Way (&ways)[count], Image& result) const;
  /// The two stages of convertFormat(). The first says whether it applied.
  bool convertDirectly(Format target, Image& result) const;
  void convertBySource(Format target, Image& result) const;
  /// A YUV or luminance format to Y444 and on to RGB24, in one pass. False: there is no such way.
  bool convertYuvToRgb24(Image& result) const;

  GrowingBuffer buffer_;
  std::size_t size_ = 0;
  std::uint32_t width_ = 0;
  std::uint32_t height_ = 0;
  Format format_ = NONE;
};

/// A summary like "640x480 RGB24".
VANTIFLUX_API std::ostream& operator<<(std::ostream& stream, const Image& image);

} // namespace Vantiflux
