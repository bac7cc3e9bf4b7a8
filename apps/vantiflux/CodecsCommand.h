#pragma once

#include <string>

namespace Host {

/// All codecs, one line each: name and value type.
std::string listCodecs();

} // namespace Host
