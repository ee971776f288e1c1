// Whether this module's standard library is the one that PyxCore is built with: libstdc++ with its C++11 strings.
#pragma once

#include <string>

namespace Quorvane::Pyx::Internal {

// Objects of the standard library (texts, vectors, streams) cross the boundary only where this holds.
#if defined(__GLIBCXX__) && _GLIBCXX_USE_CXX11_ABI
#define PYXCORE_SAME_STANDARD_LIBRARY 1
inline constexpr bool sharesStandardLibrary = true;
#else
#define PYXCORE_SAME_STANDARD_LIBRARY 0
inline constexpr bool sharesStandardLibrary = false;
#endif

}  // namespace Quorvane::Pyx::Internal
