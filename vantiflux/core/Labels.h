#pragma once

#include <string>
#include <string_view>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// How labels are compared everywhere: without regard to case, a pattern with the wildcards of `fnmatch` against a
/// text, where "*" and "?" match a "/" too. A text also matches itself when it holds wildcard characters, so that a
/// label such as "Axis [x]" can be found again.
namespace Labels {

/// Each character through `tolower`.
VANTIFLUX_API std::string lower(std::string_view text);

/// Whether a text holds a character that means something in a pattern.
VANTIFLUX_API bool isPattern(std::string_view text);

/// Both sides in lower case already.
VANTIFLUX_API bool matchesLower(const std::string& pattern, const std::string& text);

VANTIFLUX_API bool matches(std::string_view pattern, std::string_view text);

} // namespace Labels

} // namespace Vantiflux
