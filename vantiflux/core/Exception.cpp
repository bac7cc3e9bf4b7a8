#include <vantiflux/core/Exception.h>

namespace Vantiflux {

// Defined here so that the type information stands in the library alone and a catch works across plug-ins.
Exception::~Exception() = default;

} // namespace Vantiflux
