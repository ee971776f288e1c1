// Whether this module's standard library is the one that PyxCore is built with: libstdc++ with its C++11 strings.
#pragma once

#include <pyx/types/export.h>

#include <stdexcept>
#include <string>

// For classes whose operations take or give objects of the standard library, PYXCORE_STD_API in front of the class and
// PYXCORE_STD_BODY in front of each body, in a header of its own: the library exports the bodies, and a module with
// another standard library compiles them for itself and hides them.
#if defined(__GLIBCXX__) && _GLIBCXX_USE_CXX11_ABI
#define PYXCORE_SAME_STANDARD_LIBRARY 1
#define PYXCORE_STD_API PYXCORE_API
#define PYXCORE_STD_BODY
#else
#define PYXCORE_SAME_STANDARD_LIBRARY 0
#define PYXCORE_STD_API PYXCORE_LOCAL
#define PYXCORE_STD_BODY inline
#endif

namespace Quorvane::Pyx::Internal {

// Objects of the standard library (texts, vectors, streams) cross the boundary only where this holds.
inline constexpr bool sharesStandardLibrary = PYXCORE_SAME_STANDARD_LIBRARY != 0;

[[noreturn]] inline void throwTextsAreForeign() {
    throw std::runtime_error("Cannot read texts of PyxCore in a module that is built with another standard library.");
}

}  // namespace Quorvane::Pyx::Internal
