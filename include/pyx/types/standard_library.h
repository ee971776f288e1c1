// What depends on whether this module's standard library is the one that PyxCore is built with.
#pragma once

#include <pyx/types/export.h>

// For classes whose operations take or give objects of the standard library, PYXCORE_STD_API in front of the class and
// PYXCORE_STD_BODY in front of each body, in a header of its own: the library exports the bodies, and a module with
// another standard library compiles them for itself.
#if PYXCORE_SAME_STANDARD_LIBRARY
#define PYXCORE_STD_API PYXCORE_API
#define PYXCORE_STD_BODY
#else
#define PYXCORE_STD_API
#define PYXCORE_STD_BODY inline
#endif

namespace Quorvane::PYXCORE_PYX::Internal {

// Objects of the standard library (strings, vectors, streams) cross the boundary only where this holds.
inline constexpr bool sharesStandardLibrary = PYXCORE_SAME_STANDARD_LIBRARY != 0;

}  // namespace Quorvane::PYXCORE_PYX::Internal
