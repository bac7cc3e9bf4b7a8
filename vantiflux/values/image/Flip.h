#pragma once

#include <vantiflux/values/Image.h>

namespace Vantiflux {

/// Whether flip() can mirror images of that format: one whose pixels are two, three or four whole bytes of colour
/// (BGR555, BGR565, BGR24, RGB24, BGR32, RGB32).
VANTIFLUX_API bool canFlip(Image::Format format) noexcept;

/// Writes a mirrored copy of an image. The flags name the axis of reflection, not the direction of movement: horizontal
/// makes the first line the last, vertical makes the first pixel of each line its last, both together reverse the order
/// of all pixels. Neither gives a plain copy, and so does a format that canFlip() denies, or an image whose width and
/// height claim more than its bytes hold.
///
/// The source stays as it is, others may be reading it. Source and result may be the same image, at the price of a
/// copy. A result whose buffer is large enough is reused without allocation.
VANTIFLUX_API void flip(const Image& in, Image& out, bool horizontal, bool vertical);

} // namespace Vantiflux
