#pragma once

#include <string>
#include <string_view>

namespace XMLWrap {

/// Whether a text is UTF-8 all of whose characters XML 1.0 can carry.
bool isXMLText(std::string_view text) noexcept;

/// Whether a text can be the qualified name of an element or an attribute. Beyond ASCII every character passes.
bool isXMLName(std::string_view name) noexcept;

/// A text as it stands between tags, and as it stands between double quotation marks.
std::string escapeText(std::string_view text);
std::string escapeAttribute(std::string_view text);

} // namespace XMLWrap
