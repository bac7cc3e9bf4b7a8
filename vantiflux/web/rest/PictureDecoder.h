#pragma once

#include <cstddef>
#include <memory>

namespace REST {

/// One of two places for those who have a picture on its way into a slot: so that pictures cannot take the memory of
/// the machine, nor all of its processors. Whoever brings one has a place from before it is decoded until the slot's
/// listeners have had it.
class PicturePlace {
public:
  /// Waits for a place, but not for ever: a listener may take its time. Throws std::runtime_error then, and at once
  /// where eight wait already.
  PicturePlace();
  ~PicturePlace();
  PicturePlace(const PicturePlace&) = delete;
  PicturePlace& operator=(const PicturePlace&) = delete;
};

/// The pixels of a picture file: R, G, B, line by line without padding.
class PictureDecoder {
public:
  /// Throws std::runtime_error for bytes that are no JPEG, PNG or BMP file, and for one that needs more memory or work
  /// than is granted.
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
