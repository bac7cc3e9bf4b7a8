#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// A text does not convert to a value.
class VANTIFLUX_API InvalidValueException : public Exception {
public:
  using Exception::Exception;
  ~InvalidValueException() override;
};

} // namespace Vantiflux
