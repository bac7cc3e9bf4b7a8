#pragma once

#include <cstddef>

#include <vantiflux/Export.h>

namespace REST {

/// Writes the bytes in Base64, padded with "=", without line ends, and a zero byte behind it. `outputSize` is the room
/// that there is, and then the length of the text. Returns 1; or 0, with nothing written, when there is no room for
/// (inputSize + 2) / 3 * 4 + 1 bytes.
VANTIFLUX_API int base64_enc(const unsigned char* input, std::size_t inputSize, unsigned char* output,
                             std::size_t* outputSize);

/// The reverse. Characters outside the alphabet are ignored. Returns 0, with `outputSize` as it was, for padding in the
/// first half of a group, for data after padding, for a group that is not complete, and when there is not the room.
VANTIFLUX_API int base64_dec(const unsigned char* input, std::size_t inputSize, unsigned char* output,
                             std::size_t* outputSize);

} // namespace REST
