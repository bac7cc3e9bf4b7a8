#pragma once

#include <string_view>

namespace Vantiflux {

/// What "/favicon.ico" gives: a Windows icon of 16 by 16 points with 256 colours.
extern const std::string_view icon;

} // namespace Vantiflux
