#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// Thrown to a reader that BasicInSlot::interrupt woke. Its message is empty.
class VANTIFLUX_API InterruptedException : public Exception {
public:
  using Exception::Exception;
  ~InterruptedException() override;
};

} // namespace Vantiflux
