#pragma once

namespace Vantiflux {

/// The printable name of a value type, `static const char* getName()`. Specialised for every type that slots carry in
/// <vantiflux/values/TypeName.h>; a type without a name cannot be a slot's value.
template <class T>
struct TypeName;

} // namespace Vantiflux
