#pragma once

#include <ostream>

namespace Host {

/// Lists the codecs, one line each: name and value type.
void listCodecs(std::ostream& stream);

} // namespace Host
