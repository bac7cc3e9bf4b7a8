#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// A namespace was asked for that is not there.
class VANTIFLUX_API InvalidNamespaceException : public Exception {
public:
  using Exception::Exception;
  ~InvalidNamespaceException() override;
};

} // namespace Vantiflux
