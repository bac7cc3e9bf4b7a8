#pragma once

#include <vantiflux/Export.h>

/// The names of the value types. Each header that defines one of them includes this first: the visibility of a slot of
/// some type hangs on that of the type, and compilers look at the first declaration that they meet.
namespace Vantiflux {

template <class T>
struct VANTIFLUX_API Vec2;
template <class T>
struct VANTIFLUX_API Vec3;
template <class T>
struct VANTIFLUX_API Vec4;
template <class T>
class VANTIFLUX_API Matrix3;
template <class T>
class VANTIFLUX_API Matrix4;
struct VANTIFLUX_API Rotation;
struct VANTIFLUX_API Color;
struct VANTIFLUX_API ColorRGBA;
struct VANTIFLUX_API Time;
class VANTIFLUX_API Sample;
class VANTIFLUX_API Image;
template <class T>
class SmartPtr;

} // namespace Vantiflux
