#pragma once

#include <cstdint>
#include <vantiflux/Export.h>

namespace Tarsil {

/// The time of day (UTC) as seconds since 1970-01-01 00:00:00 and microseconds (0 to 999999) of the second. The clock
/// may be set, so it can jump. Does not block.
VANTIFLUX_API void getSystemTime(std::int64_t& seconds, std::int32_t& microseconds) noexcept;

} // namespace Tarsil
