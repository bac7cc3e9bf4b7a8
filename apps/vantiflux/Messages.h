#pragma once

#include <string_view>

namespace Host {

/// Tells something on standard error, as one line that begins with the program's name. A terminal that stalls holds it
/// up for half a second at most; then the message is lost.
void tell(std::string_view message);

/// Writes all of a command's result to standard output, blocking. Throws Vantiflux::Exception when it cannot be
/// written; false, without a word, when nobody reads it any more.
bool print(std::string_view text);

/// The same exception for a write that failed with that error number.
[[noreturn]] void throwUnwritable(int error);

} // namespace Host
