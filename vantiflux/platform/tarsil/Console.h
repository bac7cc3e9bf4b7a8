#pragma once

#include <string_view>

#include <vantiflux/Export.h>

/// Lines for whoever runs the process. They never hold up the thread that writes them: what a reader who has stopped
/// reading would not take is left out. A text holds its own line end.
/// *Threads.* Any thread; texts of several threads do not mix.
namespace Tarsil::Console {

/// To standard output.
VANTIFLUX_API void out(std::string_view text);
/// To standard error.
VANTIFLUX_API void error(std::string_view text);

} // namespace Tarsil::Console
