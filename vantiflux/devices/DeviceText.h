#pragma once

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

/// Sends the pieces between the "#"s, with a pause for each "#". Empty pieces are not sent. Both functions return false
/// to end it; then the result is false.
VANTIFLUX_API bool sendWithPauses(std::string_view text, const std::function<bool(std::string_view piece)>& send,
                                  const std::function<bool(int milliseconds)>& sleep);

} // namespace DeviceText

} // namespace Vantiflux
