#pragma once

#include <string_view>

#include <vantiflux/Export.h>

namespace Tarsil {

/// Print the text and a line end, on standard output or standard error, if that takes it now. Output that is stuck,
/// because nobody reads the other end of a pipe, loses the line: a worker must never wait for it. From any thread;
/// lines of several threads do not mix.
VANTIFLUX_API void printLine(std::string_view text);
VANTIFLUX_API void printErrorLine(std::string_view text);

} // namespace Tarsil
