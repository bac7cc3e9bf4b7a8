#pragma once

#include <cstddef>
#include <memory>

namespace REST {

/// The pixels of a picture file: R, G, B, line by line without padding.
class PictureDecoder {
public:
  /// Throws std::runtime_error for bytes that are no JPEG, PNG or BMP file, or one that needs more memory than is
  /// granted. Waits while two others decode, so that pictures cannot take the memory of the machine.
  PictureDecoder(const unsigned char* bytes, std::size_t size);

  unsigned width() const noexcept { return width_; }
  unsigned height() const noexcept { return height_; }
  const unsigned char* pixels() const noexcept { return pixels_.get(); }

private:
  struct Free {
    void operator()(unsigned char* pixels) const noexcept;
  };
  std::unique_ptr<unsigned char[], Free> pixels_;
  unsigned width_ = 0;
  unsigned height_ = 0;
};

} // namespace REST
