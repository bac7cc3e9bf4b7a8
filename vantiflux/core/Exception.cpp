#include <vantiflux/core/Exception.h>

#include <vantiflux/core/InterruptedException.h>
#include <vantiflux/core/InvalidFieldException.h>
#include <vantiflux/core/InvalidNamespaceException.h>
#include <vantiflux/core/InvalidNodeException.h>
#include <vantiflux/core/InvalidValueException.h>

namespace Vantiflux {

// Defined here so that the type information stands in the library alone and a catch works across plug-ins.
Exception::~Exception() = default;
InterruptedException::~InterruptedException() = default;
InvalidFieldException::~InvalidFieldException() = default;
InvalidNamespaceException::~InvalidNamespaceException() = default;
InvalidNodeException::~InvalidNodeException() = default;
InvalidValueException::~InvalidValueException() = default;

} // namespace Vantiflux
