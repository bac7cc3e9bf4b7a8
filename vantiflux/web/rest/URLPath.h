#pragma once

#include <string>

#include <boost/filesystem/path.hpp>

#include <vantiflux/Export.h>

/// The components of a request's path.
namespace REST {

/// Whether the component is the end of the path: none, or the one that a "/" at the end makes.
VANTIFLUX_API bool pathAtEnd(const boost::filesystem::path::iterator& at);

/// The component with its percent codes decoded.
VANTIFLUX_API std::string toStr(const boost::filesystem::path::iterator& at);

/// Replaces the percent codes that begin before `limit` by their characters, in place. A code whose character is among
/// `keep` stays, and so do malformed codes, that of the character 0, and a percent sign among the last two characters.
VANTIFLUX_API void decodeUnsafeCharacters(std::string& text, const std::string& keep, unsigned long limit);

/// Splits a text at its first point. The extension is given in lower case; it is empty when there is no point.
VANTIFLUX_API void mimetype(const std::string& text, std::string& base, std::string& extension);

} // namespace REST
