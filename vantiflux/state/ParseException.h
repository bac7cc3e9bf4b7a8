#pragma once

#include <vantiflux/Export.h>
#include <vantiflux/core/Exception.h>

namespace Vantiflux {

/// A file of a saved namespace that is malformed or nested too deeply, or that is not such a file at all.
class VANTIFLUX_API ParseException : public Exception {
public:
  using Exception::Exception;
  ~ParseException() override;
};

} // namespace Vantiflux
