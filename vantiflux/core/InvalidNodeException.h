#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// A node of an unknown type was asked for.
class VANTIFLUX_API InvalidNodeException : public Exception {
public:
  using Exception::Exception;
  ~InvalidNodeException() override;
};

} // namespace Vantiflux
