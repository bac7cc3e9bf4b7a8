#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/platform/pelorn/Gather.h>

namespace Vantiflux {

/// Carries one value of a slot: its time stamp and its encoded bytes.
class VANTIFLUX_API SetStateEvent {
public:
  unsigned long getTimeStamp() const noexcept { return timeStamp_; }
  void setTimeStamp(unsigned long timeStamp) noexcept { timeStamp_ = timeStamp; }

  /// The bytes of the value. What was received stands in the text; what is to be sent may refer to large blocks.
  const Pelorn::Gather& getState() const noexcept { return state_; }
  Pelorn::Gather& getState() noexcept { return state_; }

private:
  unsigned long timeStamp_ = 0;
  Pelorn::Gather state_;
};

} // namespace Vantiflux
