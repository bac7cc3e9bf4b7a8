#pragma once

#include <string>

#include <vantiflux/values/Image.h>

namespace Host {

enum class PictureKind { PNG, JPEG };

/// The kind that a file's name asks for, by its ending in any case: .png, .jpg or .jpeg. Throws Vantiflux::Exception
/// for any other.
PictureKind pictureKindOf(const std::string& file);

/// The contents of a picture file: luminance as grey, everything else in colour. Throws Vantiflux::Exception for an
/// image that is no picture: without pixels, too large for the kind of file, or in a format that cannot be turned into
/// RGB.
std::string encodePicture(const Vantiflux::Image& image, PictureKind kind);

} // namespace Host
