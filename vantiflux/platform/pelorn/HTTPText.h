#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>

/// The small texts that requests and replies are made of.
namespace Pelorn::HTTPText {

/// Without regard to the case of ASCII letters.
VANTIFLUX_API bool equal(std::string_view a, std::string_view b) noexcept;
/// In lower case; other characters than ASCII letters stay.
VANTIFLUX_API std::string lower(std::string_view text);
/// Without the blanks and tabs around it.
VANTIFLUX_API std::string_view trim(std::string_view text) noexcept;

/// Every byte but letters, digits, "-", ".", "_" and "~" as "%" and two digits.
VANTIFLUX_API std::string encode(std::string_view text);

/// Decodes percent codes, and "+" as a blank where that is how blanks are written. False for a code that is cut off or
/// malformed, and for the code of the character 0.
VANTIFLUX_API bool decode(std::string_view text, bool plusIsBlank, std::string& decoded);

/// A date in the form of HTTP, such as "Sun, 06 Nov 1994 08:49:37 GMT".
VANTIFLUX_API std::string date(std::time_t time);

/// The bytes in Base64.
VANTIFLUX_API std::string base64(std::string_view bytes);

/// The text as the content of an HTML element, or of an attribute between double quotation marks.
VANTIFLUX_API std::string escape(std::string_view text);

} // namespace Pelorn::HTTPText
