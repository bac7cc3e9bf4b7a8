#include <vantiflux/values/Image.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <utility>

namespace Vantiflux {

Image::Image(const Image& other) {
  if (other.size_ > 0) {
    buffer_.require(other.size_);
    std::memcpy(data(), other.data(), other.size_);
  }
  size_ = other.size_;
  width_ = other.width_;
  height_ = other.height_;
  format_ = other.format_;
}

Image& Image::operator=(const Image& other) {
  if (this == &other)
    return *this;
  if (other.size_ > capacity())
    clear();
  buffer_.require(other.size_);
  size_ = other.size_;
  width_ = other.width_;
  height_ = other.height_;
  format_ = other.format_;
  // All that both buffers have room for is copied, not just the bytes in use: what a decoder left behind the pixels
  // goes with them. The limit is the smaller capacity, because a destination larger than its source must not read bytes
  // that the source does not own.
  if (const std::size_t bytes = std::min(capacity(), other.capacity()); bytes > 0)
    std::memcpy(data(), other.data(), bytes);
  return *this;
}

Image& Image::operator=(Image&& other) noexcept {
  swap(other);
  return *this;
}

void Image::clear() noexcept {
  size_ = 0;
  width_ = 0;
  height_ = 0;
  format_ = NONE;
}

void Image::swap(Image& other) noexcept {
  buffer_.swap(other.buffer_);
  std::swap(size_, other.size_);
  std::swap(width_, other.width_);
  std::swap(height_, other.height_);
  std::swap(format_, other.format_);
}

bool operator==(const Image& a, const Image& b) {
  return a.width_ == b.width_ && a.height_ == b.height_ && a.format_ == b.format_ &&
         (a.size_ == 0 || std::memcmp(a.data(), b.data(), a.size_) == 0);
}

std::ostream& operator<<(std::ostream& stream, const Image& image) {
  return stream << image.width() << 'x' << image.height() << ' ' << Image::format2String(image.format());
}

} // namespace Vantiflux
