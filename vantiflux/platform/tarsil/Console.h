#pragma once

#include <string>

#include <vantiflux/Export.h>

namespace Tarsil {

/// Prints the text and a line end on the standard output, if that takes it now. Output that is stuck, because nobody
/// reads the other end of a pipe, loses the line: a worker must never wait for it. From any thread.
VANTIFLUX_API void printLine(const std::string& text);

} // namespace Tarsil
