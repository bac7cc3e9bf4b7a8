#pragma once

#include <string_view>

namespace Vantiflux {

/// What "/Style.css" gives.
extern const std::string_view styleSheet;

} // namespace Vantiflux
