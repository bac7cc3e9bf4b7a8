#pragma once

#include <atomic>
#include <cstdint>

#include <vantiflux/Export.h>

namespace Tarsil {

/// Sleeps until `word` is no longer `expected`, for at most `milliseconds` (negative: without limit). May return early;
/// the caller looks again. Returns false when the time ran out.
VANTIFLUX_API bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected, int milliseconds = -1);

/// Wakes at most `count` threads that sleep on `word`. Never reads the word, so it may be gone by then.
VANTIFLUX_API void futexWake(const std::atomic<std::uint32_t>& word, int count);

} // namespace Tarsil
