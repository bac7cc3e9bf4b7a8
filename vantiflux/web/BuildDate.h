#pragma once

namespace Vantiflux {

/// When the library was built, as "Sep 30 2015 01:57:37".
extern const char* const buildDate;

} // namespace Vantiflux
