#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// A field was asked for that is not there.
class VANTIFLUX_API InvalidFieldException : public Exception {
public:
  using Exception::Exception;
  ~InvalidFieldException() override;
};

} // namespace Vantiflux
