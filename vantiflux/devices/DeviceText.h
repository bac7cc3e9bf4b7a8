#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include <vantiflux/Export.h>

namespace Vantiflux {

/// What the nodes of raw streams do with texts.
namespace DeviceText {

/// The pause that a "#" in an init or deinit string stands for, in milliseconds.
inline constexpr int pause = 500;

/// Bytes as characters of Latin-1, turned into UTF-8: valid text whatever they are.
VANTIFLUX_API std::string latin1ToUTF8(std::string_view bytes);

/// What a peer sent, fit for a line of people's console or log: no control characters, UTF-8 from Latin-1, and no
/// longer than that many bytes of it, with an ellipsis where something is left out.
inline constexpr std::size_t shownLimit = 1000;
VANTIFLUX_API std::string shown(std::string_view bytes, std::size_t limit = shownLimit);

/// Sends the pieces between the "#"s, with a pause for each "#". Empty pieces are not sent. Both functions return false
/// to end it; then the result is false.
VANTIFLUX_API bool sendWithPauses(std::string_view text, const std::function<bool(std::string_view piece)>& send,
                                  const std::function<bool(int milliseconds)>& sleep);

} // namespace DeviceText

} // namespace Vantiflux
