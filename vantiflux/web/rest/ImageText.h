#pragma once

#include <string>

#include <vantiflux/Export.h>
#include <vantiflux/core/SmartPtr.h>
#include <vantiflux/values/Image.h>

namespace REST {

/// The Base64 text of a JPEG stream of quality 85, its colours at half the resolution in both directions. Formats other
/// than RGB24 and RGB32 are converted first. Empty for a null image, one without pixels, one whose bytes are fewer than
/// its width and height claim, and one that JPEG cannot express.
VANTIFLUX_API std::string imageToString(const Vantiflux::Image* image);

/// Decodes a text into a value.
template <class T>
void valueFromString(const std::string& text, T& value);

/// From the Base64 text of a JPEG, PNG or BMP file, to RGB24. A null image gets one from the pool. Throws
/// std::runtime_error "Error converting image" for all other texts, and for a picture that takes more than 256 MiB or
/// too much work to decode.
template <>
VANTIFLUX_API void valueFromString(const std::string& text, Vantiflux::SmartPtr<Vantiflux::Image>& value);

} // namespace REST
