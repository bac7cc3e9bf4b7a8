#pragma once

#include <string>
#include <string_view>

namespace Host {

/// Text that a terminal shows as it is, on one line. What would move the cursor, begin a control sequence or change the
/// order of what stands there is written as a code: "\n", "\x1b" or "\u009b". So are bytes that are not UTF-8: "\xff".
std::string printable(std::string_view text);

} // namespace Host
