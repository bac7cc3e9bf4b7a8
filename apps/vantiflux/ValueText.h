#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <vantiflux/core/BasicInSlot.h>
#include <vantiflux/core/Data.h>

namespace Host {

/// Text that a terminal shows as it is, on one line: control characters are written as "\n" or "\x1b".
std::string printable(std::string_view text);

/// Local time to the millisecond: "2024-02-29 12:34:56.789".
std::string timeText(Vantiflux::BasicData::TimeStamp timeStamp);

struct TakenValue {
  Vantiflux::BasicData::TimeStamp timeStamp = 0;
  std::string text;
};

/// Whether the slot's type is one of the library's.
bool isPrintable(const Vantiflux::BasicInSlot& slot);

/// Takes the waiting value of a slot of any of the library's types and writes it as people read it: components between
/// blanks, lists in brackets, images and sound as a summary. Empty for a slot without a value and for one of another
/// type. *Threads.* The caller is the slot's one reader, or this may block.
std::optional<TakenValue> takeAsText(Vantiflux::BasicInSlot& slot);

} // namespace Host
